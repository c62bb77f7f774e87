// Which class an array has, by the stored class number. Loads only, but for ndIsClass, which compares names.
#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"

#include <nd/access.hpp>

#include <string_view>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

bool ndIsCell(const ndArray_tag* array) { return array->class_id == ndCELL_CLASS; }
bool ndIsChar(const ndArray_tag* array) { return array->class_id == ndCHAR_CLASS; }
bool ndIsDouble(const ndArray_tag* array) { return array->class_id == ndDOUBLE_CLASS; }
bool ndIsSingle(const ndArray_tag* array) { return array->class_id == ndSINGLE_CLASS; }
bool ndIsLogical(const ndArray_tag* array) { return array->class_id == ndLOGICAL_CLASS; }
bool ndIsFunctionHandle(const ndArray_tag* array) { return array->class_id == ndFUNCTION_CLASS; }
bool ndIsOpaque(const ndArray_tag* array) { return array->class_id == ndOPAQUE_CLASS; }
bool ndIsObject(const ndArray_tag* array) { return array->class_id == ndOBJECT_CLASS; }
bool ndIsInt8(const ndArray_tag* array) { return array->class_id == ndINT8_CLASS; }
bool ndIsInt16(const ndArray_tag* array) { return array->class_id == ndINT16_CLASS; }
bool ndIsInt32(const ndArray_tag* array) { return array->class_id == ndINT32_CLASS; }
bool ndIsInt64(const ndArray_tag* array) { return array->class_id == ndINT64_CLASS; }
bool ndIsUint8(const ndArray_tag* array) { return array->class_id == ndUINT8_CLASS; }
bool ndIsUint16(const ndArray_tag* array) { return array->class_id == ndUINT16_CLASS; }
bool ndIsUint32(const ndArray_tag* array) { return array->class_id == ndUINT32_CLASS; }
bool ndIsUint64(const ndArray_tag* array) { return array->class_id == ndUINT64_CLASS; }
bool ndIsStructClass(const ndArray_tag* array) { return array->class_id == ndSTRUCT_CLASS; }
bool ndIsStruct(const ndArray_tag* array) { return is_struct_like(array->class_id); }
bool ndIsContainer(const ndArray_tag* array) { return is_container_class(array->class_id); }
bool ndIsIndex(const ndArray_tag* array) { return array->class_id == ndUINT64_CLASS; }
bool ndIsClassUnknown(const ndArray_tag* array) { return array->class_id == ndUNKNOWN_CLASS; }

bool ndIsFloat(const ndArray_tag* array) {
    return array->class_id == ndDOUBLE_CLASS || array->class_id == ndSINGLE_CLASS;
}

bool ndIsInteger(const ndArray_tag* array) {
    return array->class_id >= ndINT8_CLASS && array->class_id <= ndUINT64_CLASS;
}

bool ndIsClass(const ndArray_tag* array, const char* name) {
    if (name == nullptr) return false;
    if (array->class_id == ndOPAQUE_CLASS) return is_class_by_class_system(array, name);
    return std::string_view(name) == ndGetClassName(array);
}

} // namespace matrix::detail::noninlined::nd_array_api
