// Ranges as subscripts: how many positions there are, and the positions themselves. Whole operands take a way in integers; others are
// warned of and rounded.
#include "indexing/colon_count.hpp"
#include "indexing/numbers.hpp"

#include "matrix/colon_layout.hpp"
#include "matrix/size_check.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>
#include <nd/warnings.hpp>

#include <array>
#include <bit>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

void check_finite(double start, double step, double stop) {
    if (!are_finite(start, step, stop)) errors::raise<TARVEL::colon::nonFiniteEndpoint>();
}

void warn_of_fractions() { api::ndWarningMsgId(TARVEL::colon::nonIntegerIndex()); }

template <class T>
bool has_no_elements(T start, T step, T stop) noexcept {
    return step == 0 || (start < stop && step < 0) || (start > stop && step > 0);
}

// The quotient of a difference in 32 bits, which wraps. The smallest number by -1 doesn't fit: negated, it is itself again.
std::uint32_t wrapped_quotient(std::int32_t from, std::int32_t to, std::int32_t step) noexcept {
    const auto difference = static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    if (step == -1) return 0 - difference;
    return static_cast<std::uint32_t>(std::bit_cast<std::int32_t>(difference) / step);
}

std::int32_t count_in_32_bits(std::int32_t start, std::int32_t step, std::int32_t stop) noexcept {
    if (has_no_elements(start, step, stop)) return 0;
    const std::uint32_t count =
        step < 0 ? 1 - wrapped_quotient(stop, start, step) : wrapped_quotient(start, stop, step) + 1;
    return std::bit_cast<std::int32_t>(count);
}

// A list for so many positions.
long long* allocate_positions(std::size_t count) {
    checked_element_count(std::array<std::size_t, 2>{count, 1}, sizeof(long long));
    void* const list = api::ndMalloc(count * sizeof(long long));
    if (list == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
    return static_cast<long long*>(list);
}

long long* whole_positions(double start, double step, double stop, kvSize& count) {
    if (has_no_elements(start, step, stop)) return nullptr;
    const whole_range range =
        whole_range_of(truncated<long long>(start), static_cast<long long>(truncated<std::int32_t>(step)),
                       truncated<long long>(stop));
    const std::size_t positions = saturated_count(range.count);
    long long* const list = allocate_positions(positions);
    std::uint64_t position = range.start;
    for (std::size_t i = 0; i < positions; ++i, position += range.step)
        list[i] = std::bit_cast<long long>(position);
    count = positions;
    return list;
}

long long* rounded_positions(double start, double step, double stop, kvSize& count) {
    warn_of_fractions();
    const array_ptr range = create_colon_array(start, step, stop, ndDOUBLE_CLASS);
    const std::size_t positions = api::ndGetNumberOfElements(range.get());
    if (positions == 0) return nullptr;
    long long* const list = allocate_positions(positions);
    const auto* const elements = static_cast<const double*>(range->pdata);
    for (std::size_t i = 0; i < positions; ++i) list[i] = truncated<long long>(elements[i] + 0.5);
    count = positions;
    return list;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

kvSize ndCountIntColonObj(const ndArray_tag* array) {
    if (!is_colon_object(array)) return ndGetNumberOfElements(array);
    std::array<double, 3> values;
    ndGetColonObjValues(array, values.data());
    const auto [start, step, stop] = values;
    check_finite(start, step, stop);
    if (!are_whole(start, step, stop)) {
        warn_of_fractions();
        return ndCountColonObj(array);
    }
    const std::int32_t count = count_in_32_bits(truncated<std::int32_t>(start), truncated<std::int32_t>(step),
                                                truncated<std::int32_t>(stop));
    return static_cast<kvSize>(static_cast<std::int64_t>(count));
}

long long* ndSignedIndexColonop(double start, double step, double stop, kvSize* count) {
    *count = 0;
    check_finite(start, step, stop);
    return are_whole(start, step, stop) ? whole_positions(start, step, stop, *count)
                                        : rounded_positions(start, step, stop, *count);
}

} // namespace matrix::detail::noninlined::nd_array_api
