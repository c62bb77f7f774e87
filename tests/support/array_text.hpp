// Arrays as text, for failure messages: "int8 2x3 {1, 2, 3, 4, 5, 6} [numeric|inline-dims]".
//
// Including this makes GoogleTest print arrays and owning pointers to arrays that way.
#pragma once

#include <nd/create.hpp>

#include <iosfwd>
#include <string>

namespace test {

/// Class, dimensions, the first elements, flags by name. "(null)" for a null pointer. Reads elements: the array is valid.
std::string array_text(const ndArray_tag* array);

/// Element i as text; a container's element is shown by class and dimensions.
std::string element_text(const ndArray_tag* array, std::size_t i);

/// The field names of a struct or object in order: "{a, b}"; empty for other classes.
std::string field_names_text(const ndArray_tag* array);

/// "complex double": how arr() would name it.
std::string class_text(const ndArray_tag* array);

} // namespace test

void PrintTo(const ndArray_tag* array, std::ostream* out);

namespace matrix::detail {
void PrintTo(const std::unique_ptr<ndArray_tag, ndDestroy_deleter>& array, std::ostream* out);
}
