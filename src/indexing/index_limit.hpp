// The largest index, in the forms in which it is compared with. Constants alone, so that kernel headers can include it.
#pragma once

#include <cstdint>

namespace matrix::internal {

inline constexpr unsigned index_bits = 48;

/// The largest index, counted from 1, and the largest dimension.
inline constexpr std::uint64_t index_limit = (std::uint64_t{1} << index_bits) - 1;

/// The first whole double that is no index any more.
inline constexpr double beyond_indices = static_cast<double>(index_limit + 1);

} // namespace matrix::internal
