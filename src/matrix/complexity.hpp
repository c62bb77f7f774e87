// Complex to real and back, in place, for code inside the library: unlike the public forms these raise in every module mode, so
// that nobody goes on with an array that has kept its complexity.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Gives the elements imaginary parts of 0. Nothing happens to a complex array. Raises std::bad_alloc,
/// foundation::core::except::bad_alloc and the error of a class that can't be complex; the array is then unchanged.
void inflate_to_complex(ndArray_tag* array);

/// Drops the imaginary parts of a complex array. Raises std::bad_alloc for data that are shared or split.
void deflate_to_real(ndArray_tag* array);

/// Makes a complex array real when all its imaginary parts are 0, unless its header has other owners or its data are private. Raises
/// std::bad_alloc; the array is then still complex.
void free_imag_if_zero(ndArray_tag* array);

/// The same after a value has been stored: where the scan has no memory for its tasks the array stays complex, which is the same
/// value.
void become_real_if_possible(ndArray_tag* array) noexcept;

} // namespace matrix::internal
