// Colon objects as subscripts. start and stop count from 1; first and stop here are one less.
//
//   whole operands   a range of three words where the set allows it, else a list. The arithmetic is unsigned: operands of any size are
//                    brought to 64 bits, and differences of those don't fit 64 bits with a sign
//   others           with a warning, the elements of the expanded range, each to the nearest whole number, as a list
//
// A range without elements is a subscript that selects nothing, wherever it lies.
#include "indexing/numbers.hpp"
#include "indexing/subscript_lists.hpp"
#include "indexing/subscript_text.hpp"
#include "indexing/subscript_value.hpp"

#include "errors/raise.hpp"
#include "matrix/dimensions.hpp"

#include <nd/colon.hpp>
#include <nd/sizes.hpp>
#include <nd/warnings.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

// Positions from here on are above the largest index.
constexpr std::uint64_t position_limit = index_limit;

// A position as it is written.
std::string written(double position) { return index_text(position + 1); }

[[noreturn]] void raise_too_large(double position, const BadSubscriptHandler& handler) {
    handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::numeric, written(position));
}

index_block checked_list(std::size_t count) {
    api::ndCheckMN(count, 1, sizeof(kvIndex));
    return make_index_block(count);
}

std::uint64_t magnitude(std::int64_t x) noexcept {
    const auto bits = static_cast<std::uint64_t>(x);
    return x < 0 ? 0 - bits : bits;
}

// Of a range with at least one element that begins at a position; it must end at one.
struct whole_positions {
    IndexRange range;
    kvSize count;
    slot_kind kind;
};

whole_positions checked_range(std::int64_t first, std::int64_t step, std::int64_t stop,
                              const BadSubscriptHandler& handler) {
    const bool ascending = step > 0;
    const auto from = static_cast<std::uint64_t>(first);
    const auto to =
        static_cast<std::uint64_t>(stop); // wraps when stop is negative, and the difference with it
    const std::uint64_t size = magnitude(step);
    const std::uint64_t steps = (ascending ? to - from : from - to) / size;
    const std::uint64_t way = steps * size;
    if (!ascending && way > from)
        handler.ThrowInvalidIndexError(written(static_cast<double>(from) - static_cast<double>(way)));
    const std::uint64_t last = ascending ? from + way : from - way;
    const std::uint64_t largest = std::max(from, last);
    if (largest >= position_limit) raise_too_large(static_cast<double>(largest), handler);
    return {{from, size, last}, steps + 1, ascending ? slot_kind::ascending : slot_kind::descending};
}

void fill_with_whole(SubscriptSet& set, std::size_t slot, double first, double step, double stop,
                     const BadSubscriptHandler& handler) {
    if (step == 0 || (step < 0 && stop > first) || (step > 0 && stop < first)) return set.put_nothing(slot);
    if (first < 0) handler.ThrowInvalidIndexError(written(first));
    const auto [range, count, kind] =
        checked_range(truncated<std::int64_t>(first), truncated<std::int64_t>(step),
                      truncated<std::int64_t>(stop), handler);
    if (set.useRanges) return set.put_range(slot, range, kind, count);
    index_block list = checked_list(count);
    const std::uint64_t forward = kind == slot_kind::ascending ? range.step : 0 - range.step;
    for (std::size_t i = 0; i < count; ++i) list[i] = range.first + i * forward;
    set.put_list(slot, std::move(list), count, std::max(range.first, range.last) + 1);
}

void fill_with_rounded(SubscriptSet& set, std::size_t slot, double first, double step, double stop,
                       const BadSubscriptHandler& handler) {
    api::ndWarningMsgId(TARVEL::colon::nonIntegerIndex());
    const array_ptr range = create_colon_array(first, step, stop, ndDOUBLE_CLASS);
    const std::size_t count = element_count(range.get());
    if (count == 0) return set.put_nothing(slot);
    const auto* const elements = static_cast<const double*>(range->pdata);
    const auto [lowest, highest] = std::minmax(elements[0], elements[count - 1]);
    if (lowest < -0.5) handler.ThrowInvalidIndexError(written(lowest));
    const double largest = std::trunc(highest + 0.5);
    if (largest >= static_cast<double>(position_limit)) raise_too_large(largest, handler);
    index_block list = checked_list(count);
    std::transform(elements, elements + count, list.get(),
                   [](double x) { return static_cast<kvIndex>(x + 0.5); });
    set.put_list(slot, std::move(list), count, static_cast<kvSize>(largest) + 1);
}

} // namespace

void fill_with_range(SubscriptSet& set, std::size_t slot, const ndArray_tag* colon_object,
                     const BadSubscriptHandler& handler) {
    std::array<double, 3> operands;
    api::ndGetColonObjValues(colon_object, operands.data());
    const double first = operands[0] - 1;
    const double step = operands[1];
    const double stop = operands[2] - 1;
    if (!std::isfinite(first) || !std::isfinite(step) || !std::isfinite(stop))
        errors::raise<TARVEL::colon::nonFiniteEndpoint>();
    if (!is_whole(first) || !is_whole(step) || !is_whole(stop))
        return fill_with_rounded(set, slot, first, step, stop, handler);
    fill_with_whole(set, slot, first, step, stop, handler);
}

} // namespace matrix::internal
