// Whether an assignment that grows an array stores into every new element.
#pragma once

#include "indexing/subscript_set.hpp"
#include "matrix/dimensions.hpp"

namespace matrix::internal {

/// True when a new element remains that the set, which has lists and colons only, doesn't select. old_count: elements before growth; the
/// dimensions are those through which the operation sees the array. With two or more growing dimensions each subscript has to name
/// all positions. Raises std::bad_alloc.
bool leaves_gaps(std::size_t old_count, dims_view old_seen, dims_view new_seen, const SubscriptSet& set);

} // namespace matrix::internal
