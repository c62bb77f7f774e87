// Imaginary parts of full complex arrays: looking at them and taking them away.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Whether any element of a full complex array has an imaginary part other than 0. A NaN is one. Long arrays are scanned on
/// several threads. Raises std::bad_alloc when the task scheduler can't go on.
bool has_imaginary_part(const ndArray_tag* array);

/// Makes a full complex array real: real parts move to the front of the block, which keeps its size. The caller is the only user
/// of the block.
void drop_imaginary_part(ndArray_tag* array) noexcept;

} // namespace matrix::internal
