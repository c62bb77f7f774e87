// The shape of x(s), where one subscript selects from the whole of an array.
#pragma once

#include "indexing/folded_dimensions.hpp"

#include <nd/array.hpp>

namespace matrix::internal {

/// The dimensions of x(s), by the rule in <nd/reference.hpp>, for an x of these dimensions that has source_count elements in all and an s
/// that selects count of them.
/// Raises std::bad_alloc, for more than ten dimensions.
dims_list linear_reference_dims(dims_view source, std::size_t source_count, const ndArray_tag* subscript,
                                std::size_t count);

} // namespace matrix::internal
