// What a work that makes a new array gives back: a header and a block as in freelist.cpp, and above its blocks one from the heap.
// limit_destroy_result ends it.
#pragma once

#include "array_header.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <bit>
#include <cstddef>

namespace limits {

inline constexpr std::size_t largest_listed = 16384;

// A large result's header comes from the lists too; the block it had there waits in the header.
inline limit_array* create_result(std::size_t bytes) noexcept {
    if (bytes <= largest_listed) return limit_create_raw((bytes + 7) / 8, 1);
    limit_array* const array = limit_create_raw(1, 1);
    array->info[0] = std::bit_cast<std::uint64_t>(array->data);
    array->data = foundation::core::mem::aligned_heap_instance().malloc(bytes);
    return array;
}

} // namespace limits
