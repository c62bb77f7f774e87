// A sparse array for tests of the record: its three blocks come from the aligned heap, as the library's own do.
#pragma once

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/create.hpp>

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

namespace test {

/// A block with room for capacity items, the first of which are those given.
template <class T, std::size_t N>
std::uint64_t block_of(const T (&items)[N], std::size_t capacity) {
    void* const block = foundation::core::mem::aligned_heap_instance().calloc(capacity, sizeof(T));
    std::memcpy(block, items, sizeof items);
    return std::bit_cast<std::uint64_t>(block);
}

/// 3x2 doubles with 1.5 at row 1 of column 0 and 2.5 at row 2 of column 1, and room for four.
inline matrix::array_ptr sparse_3x2() {
    constexpr double values[] = {1.5, 2.5};
    constexpr std::uint64_t rows[] = {1, 2};
    constexpr std::uint64_t starts[] = {0, 1, 2};
    constexpr std::size_t room = 4;
    matrix::array_ptr array = matrix::create(std::span<const std::size_t>(), ndDOUBLE_CLASS, ndREAL);
    array->flags |= matrix::flag_sparse;
    constexpr std::size_t dims[] = {3, 2};
    array->set_dimensions(dims);
    array->pdata = std::bit_cast<void*>(block_of(values, room));
    array->info_a = block_of(rows, room);
    array->info_b = block_of(starts, std::size(starts));
    array->info_c = room;
    return array;
}

} // namespace test
