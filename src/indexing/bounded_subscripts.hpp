// The subscripts of an operation that stays within an array.
#pragma once

#include "indexing/folded_dimensions.hpp"
#include "indexing/subscript_set.hpp"

#include <nd/array.hpp>

#include <span>

namespace matrix::internal {

/// Converts all subscripts and fills the slots of the set behind a field slot. seen: the dimensions of the array that the subscripts go
/// through. Raises what converting a subscript does, and TARVEL:badsubscript (indexExceedsDims) for a position beyond its dimension,
/// with the dimensions of the array itself.
void fill_within_bounds(SubscriptSet& set, std::span<const ndArray_tag* const> subs, dims_view seen,
                        const ndArray_tag& array);

} // namespace matrix::internal
