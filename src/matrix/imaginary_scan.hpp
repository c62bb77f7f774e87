// The question whether complex elements have imaginary parts.
#pragma once

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Whether any of count complex elements of a numeric class has an imaginary part other than 0. A NaN is one. Many elements are
/// scanned on several threads. Raises std::bad_alloc when the task scheduler can't go on.
bool any_imaginary_part(std::int32_t class_id, const void* elements, std::size_t count);

} // namespace matrix::internal
