// Field names while no struct has any: the three words of a struct-like header are zero.
#include "matrix/field_names.hpp"

#include "matrix/object_info.hpp"

namespace matrix::internal {

std::size_t field_count(const ndArray_tag* /*array*/) noexcept { return 0; }

void release_struct_info(ndArray_tag* array) noexcept {
    free_object_info(array->info_c);
    array->info_a = array->info_b = array->info_c = 0;
}

void copy_struct_info(const ndArray_tag* source, ndArray_tag* copy) {
    copy->info_c = copy_object_info(source->info_c);
    copy->info_a = source->info_a;
    copy->info_b = source->info_b;
}

} // namespace matrix::internal
