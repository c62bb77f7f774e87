// The typed getters of the newest generation: the elements of an array of one class and complexity as that type.
// The header is all that is read, so the data are a load away from the caller.
#pragma once

#include "matrix/accessors.hpp"

#include <nd/array.hpp>
#include <nd/complex.h>

namespace matrix::detail::noninlined::typed_elements {

/// pdata; null for a null array, another class or the other complexity. Owner: the array.
template <class Element, ndClassID Class, ndComplexity Complexity>
Element* elements(const ndArray_tag* array) noexcept {
    const bool fits = array != nullptr && array->class_id == Class &&
                      internal::is_complex(array) == (Complexity == ndCOMPLEX);
    return fits ? static_cast<Element*>(array->pdata) : nullptr;
}

} // namespace matrix::detail::noninlined::typed_elements
