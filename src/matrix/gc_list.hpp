// The cycle collection list of the current engine: arrays that can hold references, for a collector to start from.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Enters an array whose class can hold references. Without the collection feature nothing is entered.
void add_to_gc_list(ndArray_tag* array);

/// Takes the array off, if flag_on_collection_list says that it is on.
void remove_from_gc_list(ndArray_tag* array) noexcept;

} // namespace matrix::internal
