// The rules behind validate(), split by what they look at. Each check answers with the sentence of the rule that is broken
// or with null.
#pragma once

#include <nd/array.hpp>

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// No element count and no size in bytes is above this.
inline constexpr std::uint64_t largest_count = 0xFFFFFFFFFFFF;

/// Product that stays at all ones once it has overflowed; 0 brings it back to 0.
constexpr std::uint64_t saturated_product(std::uint64_t a, std::uint64_t b) noexcept {
    std::uint64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? ~std::uint64_t{0} : product;
}

/// True when the words can be read as dimensions: inline, or an aligned block of at least three and not absurdly many.
bool dims_are_readable(const ndArray_tag* array) noexcept;

/// The first broken rule of a header by itself.
const char* broken_header_rule(const ndArray_tag* array) noexcept;

/// The first broken rule of the index vectors of a sparse array whose header is sound.
const char* broken_sparse_rule(const ndArray_tag* array) noexcept;

/// The first broken rule of the field-name set of an array whose header is sound.
const char* broken_name_rule(const ndArray_tag* array) noexcept;

/// Slots of a container whose header is sound; 0 for every other array and for a container without data.
std::size_t readable_slots(const ndArray_tag* array) noexcept;

} // namespace matrix::internal
