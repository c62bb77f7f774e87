// The cycle collection list of the current engine: arrays that can hold references, for a collector to start from.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Enters an array whose class can hold references. Without the collection feature nothing is entered.
void add_to_gc_list(ndArray_tag* array);

/// Tells the list that a container holds a value now.
void note_link_on_gc_list(ndArray_tag* container, ndArray_tag* value);

/// Takes an array off that carries flag_on_collection_list.
void take_off_gc_list(ndArray_tag* array) noexcept;

/// Takes the array off if it is on.
inline void remove_from_gc_list(ndArray_tag* array) noexcept {
    if ((array->flags & flag_on_collection_list) != 0) take_off_gc_list(array);
}

/// Puts now in the place of an array that is on the list.
void replace_on_gc_list(ndArray_tag* array, ndArray_tag* now) noexcept;

} // namespace matrix::internal
