// Expanded ranges. The count is settled and checked before anything is allocated.
//
//   few doubles              into a pair that the cache has ready, before all this is asked
//   no ranges in the class   no result
//   int64, uint64            by whole numbers, start and stop held to the class
//   a NaN count              one NaN
//   no elements              1-by-0
//   double, single           colon_fill.cpp
//   char, int8 to uint32     whole steps, modulo the width of an element
#include "indexing/colon_count.hpp"
#include "indexing/colon_fill.hpp"
#include "indexing/numbers.hpp"

#include "matrix/array_cache.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/frame.hpp"
#include "matrix/numeric_creation.hpp"
#include "matrix/size_check.hpp"
#include "matrix/size_limit.hpp"

#include <nd/colon.hpp>

#include <array>
#include <cmath>
#include <limits>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

array_ptr make_row(std::int32_t class_id, std::size_t count) {
    constexpr auto init = DataInitialization::uninitialized;
    const NdArrayTypeId code = code_of(class_id, false);
    if (ndArray_tag* const pair = take_ready_pair(code, 1, count, init)) return array_ptr(pair);
    return create_numeric(std::array<std::size_t, 2>{1, count}, code, init);
}

// A row for so many elements; the limits are told of them as of a column.
array_ptr make_checked_row(std::int32_t class_id, std::size_t count) {
    if (count != 0)
        checked_element_count(std::array<std::size_t, 2>{count, 1}, element_size(code_of(class_id, false)));
    return make_row(class_id, count);
}

array_ptr whole_array(std::int32_t class_id, const whole_range& range) {
    const std::size_t count = saturated_count(range.count);
    array_ptr array = make_checked_row(class_id, count);
    if (count != 0) fill_whole(array->pdata, sizeof(std::uint64_t), count, range.start, range.step);
    return array;
}

template <class T>
array_ptr saturated_whole_array(double start, double step, double stop, std::int32_t class_id) {
    return whole_array(class_id, whole_range_of(truncated<T>(start), step, truncated<T>(stop)));
}

array_ptr one_nan(std::int32_t class_id) {
    const bool single = class_id == ndSINGLE_CLASS;
    array_ptr array = make_row(single ? ndSINGLE_CLASS : ndDOUBLE_CLASS, 1);
    if (single) {
        *static_cast<float*>(array->pdata) = std::numeric_limits<float>::quiet_NaN();
    } else {
        *static_cast<double*>(array->pdata) = std::numeric_limits<double>::quiet_NaN();
    }
    return array;
}

void fill_elements(ndArray_tag* array, std::size_t count, double start, double step, double stop) {
    switch (array->class_id) {
    case ndDOUBLE_CLASS:
        return fill_range(static_cast<double*>(array->pdata), count, start, step, stop);
    case ndSINGLE_CLASS:
        return fill_range(static_cast<float*>(array->pdata), count, start, step, stop);
    default:
        break;
    }
    // 64 bits: the first of uint32 may not fit 32 of them with a sign.
    const auto first = static_cast<std::uint64_t>(truncated<std::int64_t>(start));
    const auto whole_step = static_cast<std::uint64_t>(truncated<std::int64_t>(step));
    fill_whole(array->pdata, stored_element_size(array), count, first, whole_step);
}

// The way of short ranges of doubles. Null where the way isn't this short: no pair is ready, the user's limit is below, or there is no
// element or no number.
[[gnu::always_inline]] inline ndArray_tag* doubles_at_once(double start, double step, double stop) noexcept {
    constexpr std::size_t room = largest_cached_block / sizeof(double);
    constexpr auto most = static_cast<double>(room);
    const double elements = api::ndColonop_size(start, step, stop, ndDOUBLE_CLASS);
    if (!(elements >= 1 && elements <= most)) return nullptr;
    const auto count = static_cast<std::size_t>(static_cast<std::int64_t>(elements));
    const std::uint64_t limit = array_size_limit();
    if (limit != 0 && count * sizeof(double) > limit) return nullptr;
    ndArray_tag* const row =
        take_ready_pair(code_of(ndDOUBLE_CLASS, false), 1, count, DataInitialization::uninitialized);
    if (row != nullptr) fill_range(static_cast<double*>(row->pdata), count, start, step, stop);
    return row;
}

bool is_any_nan(double start, double step, double stop) noexcept {
    return std::isnan(start) || std::isnan(step) || std::isnan(stop);
}

array_ptr array_of_64_bits(double start, double step, double stop, std::int32_t class_id) {
    if (is_any_nan(start, step, stop)) return one_nan(class_id);
    return class_id == ndINT64_CLASS ? saturated_whole_array<long long>(start, step, stop, class_id)
                                     : saturated_whole_array<unsigned long long>(start, step, stop, class_id);
}

} // namespace
} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr create_colon_array(double start, double step, double stop, ndClassID cls) {
    if (!has_ranges(cls)) return nullptr;
    if (has_64_bit_ranges(cls)) return array_of_64_bits(start, step, stop, cls);
    const double elements = api::ndColonop_size(start, step, stop, cls);
    if (std::isnan(elements)) return one_nan(cls);
    const std::size_t count = saturated_count(elements);
    array_ptr array = make_checked_row(cls, count);
    if (count != 0) fill_elements(array.get(), count, start, step, stop);
    return array;
}

array_ptr create_int_colon_array(long long start, long long step, long long stop) {
    return whole_array(ndINT64_CLASS, whole_range_of(start, step, stop));
}
array_ptr create_int_colon_array(long long start, double step, long long stop) {
    return whole_array(ndINT64_CLASS, whole_range_of(start, step, stop));
}
array_ptr create_int_colon_array(unsigned long long start, unsigned long long step, unsigned long long stop) {
    return whole_array(ndUINT64_CLASS, whole_range_of(start, step, stop));
}
array_ptr create_int_colon_array(unsigned long long start, double step, unsigned long long stop) {
    return whole_array(ndUINT64_CLASS, whole_range_of(start, step, stop));
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndColonop(double start, double step, double stop, ndClassID cls) {
    if (cls == ndDOUBLE_CLASS) {
        if (ndArray_tag* const row = doubles_at_once(start, step, stop)) return as_temporary(row);
    }
    return framed_creator([=] { return create_colon_array(start, step, stop, cls); });
}

ndArray_tag* ndExpandIntColonArray(long long start, long long step, long long stop) {
    return framed_creator([=] { return create_int_colon_array(start, step, stop); });
}
ndArray_tag* ndExpandIntColonArray(long long start, double step, long long stop) {
    return framed_creator([=] { return create_int_colon_array(start, step, stop); });
}
ndArray_tag* ndExpandIntColonArray(unsigned long long start, unsigned long long step,
                                   unsigned long long stop) {
    return framed_creator([=] { return create_int_colon_array(start, step, stop); });
}
ndArray_tag* ndExpandIntColonArray(unsigned long long start, double step, unsigned long long stop) {
    return framed_creator([=] { return create_int_colon_array(start, step, stop); });
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
