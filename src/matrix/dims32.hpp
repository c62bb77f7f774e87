// The dimensions narrowed to int, which the 32-bit interface hands out by pointer.
//
// The vector is made at the first request and hangs from the header's last field; it is refilled at each request, so the
// pointer is valid till the next request for that array or its end.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// The array's dimensions as ints, ndGetNumberOfDimensions of them. Raises SizeLimitExceeded when one is 2^31 or more and
/// std::bad_alloc; the array is then unchanged.
const int* narrowed_dimensions(const ndArray_tag* array);

/// Frees the vector of an array that has one.
void delete_dims32(ndArray_tag* array) noexcept;

/// Frees the vector, if any.
inline void free_dims32(ndArray_tag* array) noexcept {
    if (array->dims32 != nullptr) delete_dims32(array);
}

} // namespace matrix::internal
