// How elements that subscripts select get into a new array, by class.
//
//   logical, char, numeric   their bytes, by the width of an element
//   cell, struct, object     the element, shared (matrix/data_copy.hpp)
//   function handle          the record, of whose new holder its client hears first
//   opaque                   the copy that its class makes
//
// A routine for one run moves its target on, so that the runs of a walk lie one behind the other.
#pragma once

#include "indexing/element_walk.hpp"

#include <nd/array.hpp>

#include <array>
#include <cstddef>
#include <cstring>

namespace matrix::internal {

/// Copies the elements of runs that are Width bytes each.
template <std::size_t Width>
class byte_reader {
public:
    explicit byte_reader(void* target) noexcept : target_(static_cast<std::byte*>(target)) {}

    bool operator()(const position_run& run, const std::byte* base) noexcept {
        std::byte* const target = target_;
        target_ += run.count * Width;
        if (run.is_block()) {
            std::memcpy(target, base, run.count * Width);
            return true;
        }
        auto* __restrict to = target;
        return walk_run(run, [&to, base](std::size_t offset) noexcept {
            std::memcpy(to, base + offset * Width, Width);
            to += Width;
        });
    }

private:
    std::byte* target_;
};

/// Copies the selected elements of source, which is full, up to date and seen through dims, to result: an array of the same class and
/// complexity with a block for as many, zeroed where the class can hold references. False when memory runs out; what else copying an
/// element raises passes. result can be destroyed then.
bool read_elements(const ndArray_tag* source, dims_view dims, const SubscriptSet& set, ndArray_tag* result);

} // namespace matrix::internal
