// Sizes of the 32-bit interface: int outside, 64-bit inside. Both ways are checked conversions; what doesn't fit raises
// matrix::internal::SizeLimitExceeded with the sizes as they were given, and requested size and limit 0.
#pragma once

#include <nd/types.h>

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <span>

namespace matrix::internal {

struct matrix_size {
    std::size_t m;
    std::size_t n;
};

/// Arrays of up to this many dimensions are widened without the heap.
inline constexpr std::size_t inline_dimensions = 4;
using wide_dimensions = boost::container::small_vector<std::size_t, inline_dimensions>;

/// Rows and columns; raises when one is negative.
matrix_size widened(int m, int n);

/// An index; raises when it is negative.
std::size_t widened(int index);

/// Appends ndim dimensions to wide; raises when ndim or one of them is negative. dims may be null when ndim is 0.
void widen_dimensions(int ndim, const int* dims, wide_dimensions& wide);

/// A value on its way out; raises when it is 2^31 or more.
int narrowed(std::size_t value);

} // namespace matrix::internal
