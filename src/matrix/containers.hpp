// The slots of cells, structs and objects.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/field_names.hpp"

namespace matrix::internal {

/// The slots: one array or null each.
inline ndArray_tag** slots_of(const ndArray_tag* container) noexcept {
    return static_cast<ndArray_tag**>(container->pdata);
}

/// How many slots there are: elements, times fields for struct and object.
inline std::size_t slot_count(const ndArray_tag* container) noexcept {
    return element_count(container) * (is_struct_like(container->class_id) ? field_count(container) : 1);
}

} // namespace matrix::internal
