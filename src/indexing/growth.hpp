// Growth of the left side of an assignment: whether its subscripts reach beyond it, which shape it gets then, and the change
// itself. An operation goes through these in order:
//
//     dims_list seen = folded_dimensions(dims_of(lhs), nsubs);          // zeros for a left side without any element
//     const dims_list old = seen;
//     if (grow_dimensions(dims_of(lhs), reach, seen)) grow_left_side(lhs, {old, seen});
//
// Dimensions are those through which the operation sees the array: one for each subscript. The fields of a struct are a dimension
// more, in front of them; only grow_left_side knows of it.
#pragma once

#include "indexing/folded_dimensions.hpp"
#include "matrix/dimensions.hpp"

#include <span>

namespace matrix::internal {

/// Raises TARVEL:matrix:ambiguousArrayGrowth (shown as TARVEL:indexed_matrix_cannot_be_resized) when there are fewer
/// subscripts than dimensions, the array isn't a vector, and the last subscript reaches beyond what it stands for: nobody can tell
/// which dimension is to grow. A linear index lengthens a vector, a scalar and an array without elements of two dimensions.
/// array_dims: all dimensions of the array; reach: the largest position of each subscript, counted from 1; seen: as above.
void refuse_ambiguous_growth(dims_view array_dims, dims_view reach, dims_view seen);

/// The growth test. False, with nothing changed, when no subscript reaches beyond its dimension; else seen becomes the dimensions
/// after growth. Raises what refuse_ambiguous_growth does, unless any growth is fine.
bool grow_dimensions(dims_view array_dims, dims_view reach, std::span<std::size_t> seen,
                     bool any_growth = false);

/// The dimensions of an array that has been grown through so many subscripts. all_zero: every dimension was 0 before, or counts as
/// 0. Vectors keep their orientation when there is one subscript; anything else becomes a row.
dims_list shape_after_growth(dims_view array_dims, dims_view seen, bool all_zero);

/// What grows.
struct left_side_growth {
    dims_view old_seen; ///< with a field slot the number of fields comes first
    dims_view new_seen; ///< as many, none smaller
    bool all_zero = false;
    bool has_field_slot = false;
    /// Old elements go to their places in the new shape. Without it they stay where they are in the block.
    bool keep = true;
    /// The value of one new element, as wide as those of the array; zero without it.
    const void* filler = nullptr;
};

/// The slots of a struct of these dimensions, of which the number of fields is the first. The elements are tested as well, since a
/// struct without fields has no slots. Raises TARVEL:pmaxsize and SizeLimitExceeded.
std::size_t checked_slot_count(dims_view dims);

/// The elements that the array is going to have; of a struct its slots. Raises TARVEL:err_non_scalar_function_handles for a function
/// handle that would have more than one element, TARVEL:pmaxsize and SizeLimitExceeded.
std::size_t checked_growth(const ndArray_tag* array, const left_side_growth& change);

/// Gives the array the block and the dimensions of its new shape; it is no literal any more. The caller has unshared it; it isn't sparse.
/// Raises, with the array's value unchanged, what checked_growth does, foundation::core::except::bad_alloc and std::bad_alloc.
void grow_left_side(ndArray_tag* array, const left_side_growth& change);

} // namespace matrix::internal
