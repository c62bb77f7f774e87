// The size of an array as messages write it.
#pragma once

#include <cstddef>
#include <string>

namespace Korvane::engine {

// "3x4": the dimensions, joined by the separator of the messages' locale. Empty without dimensions. Raises std::bad_alloc.
std::u16string CreateDimensionString(std::size_t ndims, const std::size_t* dims);

} // namespace Korvane::engine
