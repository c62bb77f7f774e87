// Struct and object arrays as their subscripts see them: one dimension more, the fields, before all others. The operations
// themselves are public (<nd/structures.hpp>).
#pragma once

#include "indexing/folded_dimensions.hpp"
#include "indexing/subscript_set.hpp"

#include <nd/structures.hpp>

namespace matrix::internal {

/// Fills slot 0 of a set that has a field slot: one field, counted from 1, or all fields of an array that has so many. Raises
/// TARVEL:badargs for a field that isn't there, TARVEL:nomem.
void fill_field_slot(SubscriptSet& set, std::size_t fields, std::size_t field);

/// The dimensions that such a set goes through. Raises std::bad_alloc, for ten subscripts and more.
dims_list dimensions_with_fields(std::size_t fields, const dims_list& seen);

} // namespace matrix::internal
