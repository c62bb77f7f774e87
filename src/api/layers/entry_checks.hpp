// Class numbers at the exported creators: refused before anything is allocated when they are no class. The functions of
// nd_array_api take what they are given, so the test stands in the stubs.
// A refusal takes the way out of every creator: an exception with module mode 1, null in any other mode.
#pragma once

#include <nd/array.hpp>

#include <cstdint>

namespace matrix::detail::noninlined::entry_checks {

/// Raises TARVEL:badargs, or returns null.
ndArray_tag* refuse_class_id();

/// Raises TARVEL:numericArgRequired, or returns null.
ndArray_tag* refuse_struct_class();

inline bool is_class_id(ndClassID class_id) noexcept {
    return static_cast<std::uint32_t>(class_id) <= static_cast<std::uint32_t>(ndOBJECT_CLASS);
}

/// create() for a class number of 0 to 18.
template <class Create>
ndArray_tag* with_class_id(ndClassID class_id, Create&& create) {
    if (!is_class_id(class_id)) [[unlikely]]
        return refuse_class_id();
    return create();
}

/// create() for a class number of 0 to 18 that isn't the struct class, whose arrays need field names.
template <class Create>
ndArray_tag* with_numeric_class_id(ndClassID class_id, Create&& create) {
    if (class_id == ndSTRUCT_CLASS) [[unlikely]]
        return refuse_struct_class();
    return with_class_id(class_id, create);
}

} // namespace matrix::detail::noninlined::entry_checks
