// When two arrays have the same value.
#pragma once

#include <nd/engine.hpp>

namespace test {

// Of the same class, size, complexity and storage, elements the same to any depth, fields in the same order. NaN is the same as
// NaN, and an empty slot of a container as a 0x0 double. Null is the same as null.
bool same_value(const ndArray_tag* a, const ndArray_tag* b);

// Only the elements, one after another as they are stored; expected may have another shape and class, whose values are converted. False
// when it can't be.
bool same_elements(const ndArray_tag& value, const ndArray_tag& expected);

} // namespace test
