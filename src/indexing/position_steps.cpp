// Which subscripts are that simple.
#include "indexing/position_steps.hpp"

#include "indexing/numbers.hpp"
#include "indexing/scalar_index.hpp"

#include "matrix/colon_layout.hpp"

#include <nd/colon.hpp>
#include <nd/scalars.hpp>

#include <array>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

std::optional<position_steps> range_within(const ndArray_tag* colon_object, std::size_t dim) {
    std::array<double, 3> operands;
    api::ndGetColonObjValues(colon_object, operands.data());
    const auto [start, step, stop] = operands;
    if (!is_exact_whole(start) || !is_exact_whole(step) || !is_exact_whole(stop)) return std::nullopt;
    if (step == 0 || (step > 0 ? stop < start : stop > start)) return position_steps{0, 1, 0};
    const auto first = static_cast<std::int64_t>(start);
    const auto by = static_cast<std::int64_t>(step);
    const std::int64_t steps = (static_cast<std::int64_t>(stop) - first) / by;
    const std::int64_t last = first + steps * by;
    const auto is_within = [dim](std::int64_t index) {
        return index >= 1 && static_cast<std::size_t>(index) <= dim;
    };
    if (!is_within(first) || !is_within(last)) return std::nullopt;
    return position_steps{static_cast<std::size_t>(first) - 1, static_cast<std::size_t>(by),
                          static_cast<std::size_t>(steps) + 1};
}

} // namespace

std::optional<position_steps> steps_within(const ndArray_tag* subscript, std::size_t dim) {
    if (const kvIndex index = plain_scalar_index(subscript); index != 0)
        return index <= dim ? std::optional(position_steps{index - 1, 1, 1}) : std::nullopt;
    if (api::ndIsColonIndex(subscript)) return position_steps{0, 1, dim};
    return is_colon_object(subscript) ? range_within(subscript, dim) : std::nullopt;
}

} // namespace matrix::internal
