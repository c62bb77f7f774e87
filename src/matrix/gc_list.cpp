// The collection list while the feature is off: no array is entered, so none carries the flag.
#include "matrix/gc_list.hpp"

namespace matrix::internal {

void add_to_gc_list(ndArray_tag* /*array*/) {}

void note_link_on_gc_list(ndArray_tag* /*container*/, ndArray_tag* /*value*/) {}

void take_off_gc_list(ndArray_tag* array) noexcept { array->flags &= ~flag_on_collection_list; }

void replace_on_gc_list(ndArray_tag* array, ndArray_tag* now) noexcept {
    take_off_gc_list(array);
    now->flags |= flag_on_collection_list;
}

} // namespace matrix::internal
