// The end of an array: see destroy.cpp for the order.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Ends an array whose last owner has let go: off its lists, then its contents, then its header.
void end_array(ndArray_tag* array) noexcept;

/// Releases the data, the share record and the dimensions of a header whose class parts are gone, and then the header.
void finish_header(ndArray_tag* array) noexcept;

/// Hands pdata to the custom deleter. What the deleter throws is logged and dropped; null data or a null deleter do nothing.
void call_custom_deleter(void (*deleter)(void*), void* data) noexcept;

} // namespace matrix::internal
