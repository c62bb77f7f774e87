// Growth of an array's data block: the routine that subscripted assignment and new fields have in common.
#pragma once

#include "matrix/dimensions.hpp"

namespace matrix::internal {

/// What grows. Both shapes have as many dimensions, and no dimension shrinks; of a struct the fields are the first one. The
/// counts are their products, tested before by the caller.
struct growth {
    dims_view old_dims;
    std::size_t old_count;
    dims_view new_dims;
    std::size_t new_count;
    /// Old elements go to their places in the new shape; without it they stay in their order at the front of the block.
    bool keep = true;
    /// The value of one new element; zero without it.
    const void* filler = nullptr;
};

/// Gives the array a block for the new shape, or widens the one it has when it keeps enough spare room. The dimensions of the
/// header are left to the caller, who has unshared the array. An old block goes where it belongs: to its custom deleter, to the
/// heap, or, private to the array, nowhere.
/// A split array is interleaved first.
/// Raises foundation::core::except::bad_alloc; the array's value is then unchanged.
void grow_data(ndArray_tag* array, const growth& change);

/// Zeros for a full array that has elements and no data. Nothing happens to any other, nor to one whose class has its elements. Raises
/// foundation::core::except::bad_alloc; the array is then unchanged.
void add_missing_block(ndArray_tag* array);

/// Cuts the block of an array that isn't split down to its first bytes, none for 0, and the capacity bit is cleared. A block that isn't the heap's, or that
/// the heap can't cut, stays as it is, with its bits.
void shrink_data(ndArray_tag* array, std::size_t bytes) noexcept;

} // namespace matrix::internal
