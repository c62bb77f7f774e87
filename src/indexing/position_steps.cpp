// Ranges of other classes than double, and those that have a view beside them.
#include "indexing/position_steps.hpp"

#include "matrix/scaffolding.hpp"

#include <nd/colon.hpp>

#include <array>

namespace matrix::internal {

std::optional<position_steps> steps::of_colon_object(const ndArray_tag* colon_object, std::size_t dim) {
    if (!is_colon_object(colon_object)) return std::nullopt;
    const scaffolding* const view = view_of(colon_object);
    if (view != nullptr && view->is_split) return std::nullopt;
    std::array<double, 3> operands;
    detail::noninlined::nd_array_api::ndGetColonObjValues(colon_object, operands.data());
    return of_range(operands[0], operands[1], operands[2], dim);
}

} // namespace matrix::internal
