// Looking over the shoulder of the header allocator: which blocks were asked for, and what a header looked like at the moment
// when it was given back.
//
// A watch stands before the slots that were in force and puts them back when it goes. Watches don't nest; blocks made before
// the watch are given back unseen.
#pragma once

#include "matrix/header_allocator.hpp"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace test {

/// The words of a header as its allocator got it.
struct freed_header {
    const void* at = nullptr;
    std::uint32_t scope = 0;
    std::int32_t class_id = 0;
    std::uint32_t flags = 0;
    std::uint64_t parent = 0;
    std::uint64_t pdata = 0;
    std::uint64_t next = 0;

    /// Whether the words carry the values that no live header has.
    bool is_poisoned() const noexcept;
};

class header_watch {
public:
    header_watch();
    ~header_watch();
    header_watch(const header_watch&) = delete;
    header_watch& operator=(const header_watch&) = delete;

    /// Sizes of the blocks asked for, in order.
    const std::vector<std::size_t>& requests() const noexcept { return requests_; }

    /// Headers given back, in order; share records aren't among them.
    const std::vector<freed_header>& freed_headers() const noexcept { return freed_; }

    /// Share records given back.
    std::size_t freed_records() const noexcept { return freed_records_; }

private:
    friend struct header_watch_slots;

    void note_request(const void* at, std::size_t size);
    void note_free(const void* at);

    matrix::internal::header_slots before_;
    std::vector<std::size_t> requests_;
    std::unordered_map<const void*, std::size_t> alive_; ///< sizes by address
    std::vector<freed_header> freed_;
    std::size_t freed_records_ = 0;
};

} // namespace test
