// Single bits of the flag word.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// True when one of the bits of mask is set.
inline bool has_flag(const ndArray_tag* array, std::uint32_t mask) noexcept {
    return (array->flags & mask) != 0;
}

/// Sets all bits of mask, or clears them.
inline void put_flag(ndArray_tag* array, std::uint32_t mask, bool on) noexcept {
    array->flags = on ? array->flags | mask : array->flags & ~mask;
}

} // namespace matrix::internal
