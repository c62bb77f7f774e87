// What an array looked like, to the bit: taken before an operation that must leave it alone and compared afterwards.
//
// A snapshot covers the header, the dimensions, the share record, the field names, the data block and, in a container, everything
// in its slots.
// It owns no reference.
#pragma once

#include <nd/array.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

class snapshot {
public:
    explicit snapshot(const ndArray_tag* array);

    /// The first thing that differs now, by name, with both values; empty when nothing does.
    std::string difference() const;

    std::uint64_t hash() const noexcept { return hash_; }

private:
    const ndArray_tag* array_;
    std::array<std::byte, sizeof(ndArray_tag)> header_;
    std::vector<std::size_t> dims_;
    std::string record_;
    std::uint64_t hash_; ///< of all of the above, the data and the slots
};

} // namespace test
