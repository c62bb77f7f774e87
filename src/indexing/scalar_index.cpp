// One index from a subscript of any class.
#include "indexing/scalar_index.hpp"

#include "indexing/subscript_text.hpp"
#include "indexing/subscript_value.hpp"

#include "matrix/accessors.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/colon.hpp>
#include <nd/scalars.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

template <class T, class Text>
kvIndex judged(T value, Text&& text, const BadSubscriptHandler& handler) {
    switch (judge_index(value)) {
    case index_verdict::valid:
        return static_cast<kvIndex>(value);
    case index_verdict::too_large:
        handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::numeric, text());
    case index_verdict::invalid:
        break;
    }
    handler.ThrowInvalidIndexError(text());
}

kvIndex first_of_range(const ndArray_tag* colon_object, const BadSubscriptHandler& handler) {
    std::array<double, 3> operands;
    api::ndGetColonObjValues(colon_object, operands.data());
    const double first = operands[0];
    return judged(
        first, [=] { return index_text(first); }, handler);
}

kvIndex first_stored_true(const ndArray_tag* mask, const BadSubscriptHandler& handler) {
    if (stored_count(mask) == 0 || row_count(mask) == 0) return 0;
    if (row_indices(mask) == nullptr) handler.ThrowInvalidIndexError();
    const kvIndex* const starts = column_starts(mask);
    const auto* const behind =
        std::find_if(starts, starts + column_count(mask) + 1, [](kvIndex start) { return start != 0; });
    const auto column = static_cast<std::size_t>(behind - starts) - 1;
    const std::size_t index =
        saturated_sum(saturated_product(column, row_count(mask)), row_indices(mask)[0] + 1);
    if (index > index_limit) handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::logical);
    return index;
}

kvIndex first_true(const ndArray_tag* mask, const BadSubscriptHandler& handler) {
    const std::size_t count = element_count(mask);
    if (count != 0 && mask->pdata == nullptr) handler.ThrowInvalidIndexError();
    const auto* const bytes = static_cast<const std::uint8_t*>(mask->pdata);
    const auto* const found = std::find_if(bytes, bytes + count, [](std::uint8_t byte) { return byte != 0; });
    return found == bytes + count ? 0 : static_cast<kvIndex>(found - bytes) + 1;
}

bool stores_first_element(const ndArray_tag* sparse) noexcept {
    const kvIndex* const rows = row_indices(sparse);
    return rows != nullptr && stored_count(sparse) != 0 && column_starts(sparse)[1] != 0 && rows[0] == 0;
}

kvIndex first_number(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    if (!has_index_values(subscript->class_id) || is_complex(subscript)) handler.ThrowInvalidIndexError();
    if (is_sparse(subscript) && !stores_first_element(subscript)) handler.ThrowInvalidIndexError("0");
    if (element_count(subscript) == 0) return 0;
    bring_data_up_to_date(subscript);
    if (subscript->pdata == nullptr) handler.ThrowInvalidIndexError();
    kvIndex index = 0;
    with_element_type(subscript->class_id, [&]<class Row>(Row) {
        typename Row::type value;
        std::memcpy(&value, subscript->pdata, sizeof value);
        index = judged(
            value, [=] { return element_text(subscript, 0); }, handler);
    });
    return index;
}

} // namespace

kvIndex scalar_index_slowly(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    if (api::ndIsColonIndex(subscript)) return 1;
    if (is_colon_object(subscript)) return first_of_range(subscript, handler);
    if (subscript->class_id == ndLOGICAL_CLASS)
        return is_sparse(subscript) ? first_stored_true(subscript, handler) : first_true(subscript, handler);
    return first_number(subscript, handler);
}

} // namespace matrix::internal
