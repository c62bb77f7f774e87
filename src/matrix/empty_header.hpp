// Making a live header empty.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Ends the array's value as destruction would, but keeps the header: class unknown, 0x0, no data. Its owners, scope, container,
/// root record and the bits of the user stay. Needs no memory.
void empty_header(ndArray_tag* array) noexcept;

} // namespace matrix::internal
