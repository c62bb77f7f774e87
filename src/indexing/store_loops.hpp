// The loops of assignment in the best instructions that the processor has.
#pragma once

#include "indexing/store_kernels.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace matrix::internal {

const store_kernels& store_kernels_in_use() noexcept;

/// Writes count elements of one value, side by side.
template <std::size_t Width>
void fill_block(std::byte* to, const std::byte* value, std::size_t count) noexcept {
    static_assert(fill_pattern_bytes % Width == 0);
    std::array<std::byte, fill_pattern_bytes> pattern;
    for (std::size_t i = 0; i < fill_pattern_bytes; i += Width) std::memcpy(pattern.data() + i, value, Width);
    store_kernels_in_use().fill(to, pattern.data(), Width, count * Width);
}

} // namespace matrix::internal
