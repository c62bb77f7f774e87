// The shape of x(s), where one subscript selects from the whole of an array.
#pragma once

#include "indexing/folded_dimensions.hpp"

#include <nd/array.hpp>

namespace matrix::internal {

/// The dimensions of the result of one subscript that selects count elements of an array of these dimensions, which has
/// source_count in all:
///
///   the colon       a column
///   a colon object  along the array if that is a vector, else a row
///   logical         0x0 for nothing out of a 1x1 or 0x0 subscript; else along the array, or else along the subscript if that is a
///                   vector, or else a column
///   numeric         along the array where both are vectors, else as the subscript is
///   any other       0x0
///
/// Raises std::bad_alloc, for more than ten dimensions.
dims_list linear_reference_dims(dims_view source, std::size_t source_count, const ndArray_tag* subscript,
                                std::size_t count);

} // namespace matrix::internal
