// The test before every allocation: how many elements and bytes do these dimensions mean, and may they be had?
#pragma once

#include "matrix/dimensions.hpp"

#include <cstdint>

namespace matrix::internal {

/// No element count, byte size or index exceeds this. A dimension may, beside another one that is 0.
inline constexpr std::uint64_t address_ceiling = 0xFFFF'FFFF'FFFF;

/// Product that becomes all ones when it doesn't fit; a later factor of 0 brings it back to 0.
constexpr std::uint64_t saturated_product(std::uint64_t a, std::uint64_t b) noexcept {
    std::uint64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? ~std::uint64_t{0} : product;
}

/// Sum that becomes all ones when it doesn't fit.
constexpr std::uint64_t saturated_sum(std::uint64_t a, std::uint64_t b) noexcept {
    std::uint64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? ~std::uint64_t{0} : sum;
}

/// The element count of dims. Raises TARVEL:pmaxsize when the count or the bytes pass the ceiling, and
/// SizeLimitExceeded when the bytes pass the limit that the user has set.
std::size_t checked_element_count(dims_view dims, std::size_t element_size);

/// The element count of an m by n sparse matrix with room for nzmax elements. Raises like checked_element_count; the bytes are
/// those of the elements, of their row indices and of the column starts.
std::size_t checked_sparse_size(std::size_t m, std::size_t n, std::size_t nzmax, std::size_t element_size);

/// The element count of dims, tested against the ceiling alone.
std::size_t checked_index_count(dims_view dims);

/// Capacity of a block that keeps spare room for count elements.
std::size_t capacity_for(std::size_t count) noexcept;

} // namespace matrix::internal
