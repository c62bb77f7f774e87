// Subscripts whose positions follow from three numbers, read without a SubscriptSet: the colon, whole ranges and single doubles.
#pragma once

#include <nd/array.hpp>

#include <cstddef>
#include <optional>

namespace matrix::internal {

/// Position number k, counted from 0, is first + k * step, modulo 2^64.
struct position_steps {
    std::size_t first;
    std::size_t step;
    std::size_t count;
};

/// The positions of such a subscript, when all of them lie within a dimension of that size. Nothing otherwise, and nothing for any other
/// subscript: converting it in full tells why. Never raises.
std::optional<position_steps> steps_within(const ndArray_tag* subscript, std::size_t dim);

} // namespace matrix::internal
