// Class identity: names and numbers, and the change of a header's class.
#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"
#include "matrix/field_names.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/root_record.hpp"

#include <nd/access.hpp>

#include <string_view>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

ndClassID ndGetClassID(const ndArray_tag* array) {
    if (array->class_id <= ndFUNCTION_CLASS) return static_cast<ndClassID>(array->class_id);
    return array->_get_class_id_non_trivial();
}

const char* ndGetClassName(const ndArray_tag* array) {
    if (array->class_id == ndOPAQUE_CLASS || array->class_id == ndOBJECT_CLASS)
        return class_name_from_class_system(array);
    return ndArrayClassIDName(static_cast<ndClassID>(array->class_id));
}

ndClassID ndGetArrayType(const ndArray_tag* array) { return static_cast<ndClassID>(array->class_id); }

void ndSetArrayType(ndArray_tag* array, ndClassID classId) {
    // Entering a list is all that can fail, so it comes first.
    const bool held_references = can_hold_references(array->class_id);
    const bool holds_references = can_hold_references(classId);
    if (holds_references && !held_references) add_to_gc_list(array);
    if (held_references && !holds_references) remove_from_gc_list(array);

    if (is_struct_like(classId) && !is_struct_like(array->class_id)) {
        array->info_a = array->info_b = array->info_c = 0;
        array->flags &= ~(flag_cached_header | flag_bin_mask);
    } else if (is_struct_like(array->class_id) && !is_struct_like(classId)) {
        release_struct_info(array);
    }
    array->class_id = classId;
    const bool numeric = ndIsNumericArrayType(classId);
    array->flags = numeric ? array->flags | flag_numeric : array->flags & ~flag_numeric;
    if (classId != ndDOUBLE_CLASS) array->flags &= ~flag_scalar_double;
    if (!holds_references && array->root_record != nullptr) release_root_record(array);
}

const char* ndArrayClassIDName(ndClassID classId) {
    return is_class(classId) ? class_rows[static_cast<std::size_t>(classId)].name
                             : class_rows[ndUNKNOWN_CLASS].name;
}

ndClassID ndClassIDFromClassName(const char* name) {
    const std::string_view wanted = name == nullptr ? std::string_view() : std::string_view(name);
    if (wanted.empty()) return ndUNKNOWN_CLASS;
    for (const class_row& row : class_rows) {
        if (wanted == row.name) return row.id;
    }
    return ndUNKNOWN_CLASS;
}

bool ndIsNumericArrayType(ndClassID classId) {
    return is_class(classId) && is_numeric(code_of(classId, false));
}

std::size_t ndGetElementSizeofClassID(ndClassID classId, ndComplexity complexity) {
    return is_class(classId) ? element_size(code_of(classId, complexity == ndCOMPLEX)) : 0;
}

} // namespace matrix::detail::noninlined::nd_array_api
