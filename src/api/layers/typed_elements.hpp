// The typed accessors of the newest generation: the elements of an array of one class and complexity as that type.
// A getter reads the header and nothing else, so the data are a load away from the caller.
#pragma once

#include "matrix/accessors.hpp"
#include "matrix/frame.hpp"

#include <nd/array.hpp>
#include <nd/complex.h>

namespace matrix::detail::noninlined::typed_elements {

/// True for an array, not null, of this class and complexity.
template <ndClassID Class, ndComplexity Complexity>
bool fits(const ndArray_tag* array) noexcept {
    return array != nullptr && array->class_id == Class &&
           internal::is_complex(array) == (Complexity == ndCOMPLEX);
}

/// pdata; null for a null array, another class or the other complexity. Owner: the array.
template <class Element, ndClassID Class, ndComplexity Complexity>
Element* elements(const ndArray_tag* array) noexcept {
    return fits<Class, Complexity>(array) ? static_cast<Element*>(array->pdata) : nullptr;
}

/// nd_array_api::ndSetData without a deleter, and returns 1. Returns 0 with nothing changed for a null array, another class, the
/// other complexity, and where that fails.
template <class Element, ndClassID Class, ndComplexity Complexity>
int set_elements(ndArray_tag* array, Element* data) {
    if (!fits<Class, Complexity>(array)) return 0;
    return internal::framed([=] {
        array->set_pdata_untrusted(data, nullptr);
        return 1;
    });
}

} // namespace matrix::detail::noninlined::typed_elements
