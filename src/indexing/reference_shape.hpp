// The shape of x(s), where one subscript selects from the whole of an array.
#pragma once

#include "indexing/folded_dimensions.hpp"

#include <nd/array.hpp>

namespace matrix::internal {

/// Along which dimension, counted from 1, the elements that a range selects lie; line is that of x.
constexpr std::size_t line_of_range(std::size_t line) noexcept { return line == 0 ? 2 : line; }

/// The same for the values of an index array, which lies along a dimension of its own; 0: the result has the shape of the indices.
constexpr std::size_t line_of_list(std::size_t line, std::size_t own) noexcept { return own == 0 ? 0 : line; }

/// The same for the true elements of a mask.
constexpr std::size_t line_of_mask(std::size_t line, std::size_t own) noexcept {
    if (line != 0) return line;
    return own == 0 ? 1 : own;
}

/// A scalar or 0x0 mask without a true element gives 0x0, whatever x is.
constexpr bool selects_no_line(dims_view mask, std::size_t count) noexcept {
    return count == 0 && mask.size() == 2 && mask[0] == mask[1] && mask[0] <= 1;
}

/// The dimensions of x(s), by the rule in <nd/reference.hpp>, for an x of these dimensions that has source_count elements in all and an s
/// that selects count of them.
/// Raises std::bad_alloc, for more than ten dimensions.
dims_list linear_reference_dims(dims_view source, std::size_t source_count, const ndArray_tag* subscript,
                                std::size_t count);

} // namespace matrix::internal
