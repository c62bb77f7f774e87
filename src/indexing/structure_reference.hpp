// Struct and object arrays as their subscripts see them: one dimension more, the fields, before all others. The operations
// themselves are public (<nd/structures.hpp>).
#pragma once

#include "indexing/subscript_set.hpp"

#include <nd/structures.hpp>

namespace matrix::internal {

/// Fills slot 0 of a set that has a field slot: one field, counted from 1, or all fields of an array that has so many. Raises
/// TARVEL:nomem.
void fill_field_slot(SubscriptSet& set, std::size_t fields, std::size_t field);

} // namespace matrix::internal
