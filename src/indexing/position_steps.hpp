// Subscripts whose positions follow from three numbers, read without a SubscriptSet: the colon, whole ranges and single doubles.
#pragma once

#include "indexing/numbers.hpp"
#include "indexing/scalar_index.hpp"
#include "matrix/colon_layout.hpp"

#include <nd/array.hpp>
#include <nd/scalars.hpp>

#include <cstddef>
#include <cstring>
#include <optional>

namespace matrix::internal {

/// Position number k, counted from 0, is first + k * step, modulo 2^64.
struct position_steps {
    std::size_t first;
    std::size_t step;
    std::size_t count;
};

namespace steps {

/// The positions of a range with these operands, by the rule of steps_within.
[[gnu::always_inline]] inline std::optional<position_steps> of_range(double start, double step, double stop,
                                                                     std::size_t dim) noexcept {
    if (!is_exact_whole(start) || !is_exact_whole(step) || !is_exact_whole(stop)) return std::nullopt;
    if (step == 0 || (step > 0 ? stop < start : stop > start)) return position_steps{0, 1, 0};
    const auto first = static_cast<std::int64_t>(start);
    const auto by = static_cast<std::int64_t>(step);
    const std::int64_t way = static_cast<std::int64_t>(stop) - first;
    const std::int64_t steps = by == 1 ? way : way / by; // a division takes as long as all the rest
    const std::int64_t last = first + steps * by;
    const auto is_within = [dim](std::int64_t index) {
        return index >= 1 && static_cast<std::size_t>(index) <= dim;
    };
    if (!is_within(first) || !is_within(last)) return std::nullopt;
    return position_steps{static_cast<std::size_t>(first) - 1, static_cast<std::size_t>(by),
                          static_cast<std::size_t>(steps) + 1};
}

/// A colon object of any class; nothing for an array that has but the flag, and for one whose operands would have to be brought into its
/// block first, which can fail.
std::optional<position_steps> of_colon_object(const ndArray_tag* colon_object, std::size_t dim);

} // namespace steps

/// The positions of such a subscript, when all of them lie within a dimension of that size. Nothing otherwise, and nothing for any other
/// subscript: converting it in full tells why. Never raises.
[[gnu::always_inline]] inline std::optional<position_steps> steps_within(const ndArray_tag* subscript,
                                                                         std::size_t dim) {
    if (const kvIndex index = plain_scalar_index(subscript); index != 0)
        return index <= dim ? std::optional(position_steps{index - 1, 1, 1}) : std::nullopt;
    if (is_double_range(subscript) && subscript->share_record == nullptr) {
        double operands[3]; // step, start, stop
        std::memcpy(operands, subscript->pdata, sizeof operands);
        return steps::of_range(operands[1], operands[0], operands[2], dim);
    }
    if ((subscript->flags & flag_colon_object) != 0) return steps::of_colon_object(subscript, dim);
    if (subscript->class_id == ndCHAR_CLASS && detail::noninlined::nd_array_api::ndIsColonIndex(subscript))
        return position_steps{0, 1, dim};
    return std::nullopt;
}

} // namespace matrix::internal
