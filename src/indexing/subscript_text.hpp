// The values of subscripts as messages write them.
#pragma once

#include <nd/array.hpp>

#include <cstddef>
#include <string>

namespace matrix::internal {

/// The shortest digits that give the same number: "1.5", "-Inf", "1e+300".
std::string index_text(double value);

/// A stored element of an array of numbers, char or logical: "7", "1.5+2i". Raises std::bad_alloc.
std::string element_text(const ndArray_tag* array, std::size_t element);

} // namespace matrix::internal
