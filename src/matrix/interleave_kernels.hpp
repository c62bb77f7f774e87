// Loops between interleaved elements and their parts, by the width of a part.
#pragma once

#include "matrix/class_table.hpp"

#include <cstddef>

namespace matrix::internal {

/// Parts of count elements of a numeric class, out of interleaved elements.
inline void deinterleave(std::int32_t class_id, const void* elements, void* real, void* imag,
                         std::size_t count) noexcept {
    with_element_type(class_id, [&]<class Row>(Row) {
        using part = typename Row::type;
        const auto* const from = static_cast<const part*>(elements);
        auto* const re = static_cast<part*>(real);
        auto* const im = static_cast<part*>(imag);
        for (std::size_t i = 0; i < count; ++i) {
            re[i] = from[2 * i];
            im[i] = from[2 * i + 1];
        }
    });
}

/// Interleaved elements out of parts.
inline void interleave(std::int32_t class_id, const void* real, const void* imag, void* elements,
                       std::size_t count) noexcept {
    with_element_type(class_id, [&]<class Row>(Row) {
        using part = typename Row::type;
        const auto* const re = static_cast<const part*>(real);
        const auto* const im = static_cast<const part*>(imag);
        auto* const to = static_cast<part*>(elements);
        for (std::size_t i = 0; i < count; ++i) {
            to[2 * i] = re[i];
            to[2 * i + 1] = im[i];
        }
    });
}

/// The real parts of count interleaved elements move to the front of their block.
inline void keep_real_parts(std::int32_t class_id, void* elements, std::size_t count) noexcept {
    with_element_type(class_id, [&]<class Row>(Row) {
        auto* const parts = static_cast<typename Row::type*>(elements);
        for (std::size_t i = 0; i < count; ++i) parts[i] = parts[2 * i];
    });
}

} // namespace matrix::internal
