// Colon objects: ranges that store their operands (matrix/colon_layout.hpp tells how), their values, counts and expansion.
//
// An array without operands that can be read, whatever its flag says, is an array like any other here.
#include "indexing/colon_count.hpp"
#include "indexing/numbers.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/frame.hpp"
#include "matrix/numeric_creation.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>

#include <array>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

template <class T>
T operand_at(const ndArray_tag* object, std::size_t offset) noexcept {
    T operand;
    std::memcpy(&operand, static_cast<const std::byte*>(object->pdata) + offset, sizeof operand);
    return operand;
}

template <class T>
void put_operand(ndArray_tag* object, std::size_t offset, T operand) noexcept {
    std::memcpy(static_cast<std::byte*>(object->pdata) + offset, &operand, sizeof operand);
}

bool is_whole_step_form(const ndArray_tag* object) noexcept {
    return has_64_bit_ranges(object->class_id) && object->n_or_ndims == columns_of_whole_step;
}

// The operands of a class of 64 bits. One of the steps is 0.
template <class T>
struct wide_operands {
    T start;
    T step;
    T stop;
    double double_step;
};

template <class T>
wide_operands<T> read_wide(const ndArray_tag* object) noexcept {
    constexpr std::size_t word = sizeof(T);
    const T start = operand_at<T>(object, word);
    const T stop = operand_at<T>(object, 2 * word);
    if (is_whole_step_form(object)) return {start, operand_at<T>(object, 3 * word), stop, 0};
    return {start, 0, stop, operand_at<double>(object, 0)};
}

template <class T>
whole_range range_of(const wide_operands<T>& operands) noexcept {
    if (operands.step != 0) return whole_range_of(operands.start, operands.step, operands.stop);
    return whole_range_of(operands.start, operands.double_step, operands.stop);
}

whole_range wide_range_of(const ndArray_tag* object) noexcept {
    if (object->class_id == ndINT64_CLASS) return range_of(read_wide<long long>(object));
    return range_of(read_wide<unsigned long long>(object));
}

struct double_operands {
    double start;
    double step;
    double stop;
};

double_operands read_doubles(const ndArray_tag* object) noexcept {
    double_operands operands{};
    with_element_type(object->class_id, [&]<class Row>(Row) {
        using element = typename Row::type;
        const bool whole_step = is_whole_step_form(object);
        constexpr std::size_t size = sizeof(element);
        operands.step = whole_step ? static_cast<double>(operand_at<element>(object, 3 * size))
                                   : operand_at<double>(object, 0);
        operands.start = static_cast<double>(operand_at<element>(object, sizeof(double)));
        operands.stop = static_cast<double>(operand_at<element>(object, sizeof(double) + size));
    });
    return operands;
}

array_ptr make_object(std::int32_t class_id, std::size_t columns) {
    array_ptr object = create_numeric(std::array<std::size_t, 2>{1, columns}, code_of(class_id, false),
                                      DataInitialization::uninitialized);
    object->flags |= flag_colon_object;
    return object;
}

template <class T>
T as_operand(double x) noexcept {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(x);
    } else {
        return truncated<T>(x);
    }
}

template <class T>
void put_operands(ndArray_tag* object, T start, double step, T stop) noexcept {
    put_operand(object, 0, step);
    put_operand(object, sizeof step, start);
    put_operand(object, sizeof step + sizeof start, stop);
}

template <class T>
constexpr ndClassID wide_class_of = std::is_signed_v<T> ? ndINT64_CLASS : ndUINT64_CLASS;

template <class T>
array_ptr wide_object(T start, T step, T stop, std::int32_t class_id) {
    if (class_id != wide_class_of<T>) return nullptr;
    array_ptr object = make_object(class_id, columns_of_whole_step);
    const std::array<T, columns_of_whole_step> words{0, start, stop, step};
    std::memcpy(object->pdata, words.data(), sizeof words);
    return object;
}

template <class T>
array_ptr wide_object(T start, double step, T stop, std::int32_t class_id) {
    if (class_id != wide_class_of<T>) return nullptr;
    array_ptr object = make_object(class_id, columns_of_double_step(class_id));
    put_operands(object.get(), start, step, stop);
    return object;
}

template <class T>
array_ptr expanded(const wide_operands<T>& operands) {
    if (operands.step != 0) return create_int_colon_array(operands.start, operands.step, operands.stop);
    return create_int_colon_array(operands.start, operands.double_step, operands.stop);
}

template <class T>
void get_wide_values(const ndArray_tag* object, T& start, T& step, T& stop, double& double_step) {
    wide_operands<T> operands{};
    if (is_colon_object(object) && object->class_id == wide_class_of<T>) operands = read_wide<T>(object);
    start = operands.start;
    step = operands.step;
    stop = operands.stop;
    double_step = operands.double_step;
}

} // namespace

std::size_t count_colon_elements(const ndArray_tag* array) {
    if (!is_colon_object(array)) return api::ndGetNumberOfElements(array);
    if (has_64_bit_ranges(array->class_id)) return saturated_count(wide_range_of(array).count);
    const double_operands operands = read_doubles(array);
    const double count = api::ndColonop_size(operands.start, operands.step, operands.stop,
                                             static_cast<ndClassID>(array->class_id));
    return std::isnan(count) ? 1 : saturated_count(count); // what it expands to is one NaN
}

array_ptr expand_if_colon_object(const ndArray_tag* array) {
    if (!is_colon_object(array)) return nullptr;
    array_ptr expanded = expand_colon_object(array);
    expanded->flags |= array->flags & (flag_from_global_workspace | flag_user_mask);
    return expanded;
}

} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr create_colon_object(double start, double step, double stop) {
    return create_colon_object(start, step, stop, ndDOUBLE_CLASS);
}

array_ptr create_colon_object(double start, double step, double stop, ndClassID cls) {
    if (!has_ranges(cls) || has_64_bit_ranges(cls)) return nullptr;
    array_ptr object = make_object(cls, columns_of_double_step(cls));
    with_element_type(cls, [&]<class Row>(Row) {
        using element = typename Row::type;
        put_operands(object.get(), as_operand<element>(start), step, as_operand<element>(stop));
    });
    return object;
}

array_ptr create_int_colon_object(long long start, long long step, long long stop, ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(long long start, double step, long long stop, ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(unsigned long long start, unsigned long long step, unsigned long long stop,
                                  ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(unsigned long long start, double step, unsigned long long stop,
                                  ndClassID cls) {
    return wide_object(start, step, stop, cls);
}

array_ptr expand_colon_object(const ndArray_tag* object) {
    if (object == nullptr) return nullptr;
    if (!is_colon_object(object)) return share_or_copy(object);
    if (object->class_id == ndINT64_CLASS) return expanded(read_wide<long long>(object));
    if (object->class_id == ndUINT64_CLASS) return expanded(read_wide<unsigned long long>(object));
    const double_operands operands = read_doubles(object);
    return create_colon_array(operands.start, operands.step, operands.stop,
                              static_cast<ndClassID>(object->class_id));
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndCreateColonObj(double start, double step, double stop) {
    return framed_creator([=] { return create_colon_object(start, step, stop); });
}
ndArray_tag* ndCreateColonObject(double start, double step, double stop, ndClassID cls) {
    return framed_creator([=] { return create_colon_object(start, step, stop, cls); });
}

ndArray_tag* ndCreateIntColonObject(long long start, long long step, long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(long long start, double step, long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(unsigned long long start, unsigned long long step,
                                    unsigned long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(unsigned long long start, double step, unsigned long long stop,
                                    ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}

ndArray_tag* ndExpandColonObj(const ndArray_tag* object) {
    return framed_creator([=] { return expand_colon_object(object); });
}

kvSize ndCountColonObj(const ndArray_tag* array) { return count_colon_elements(array); }

void ndGetColonObjValues(const ndArray_tag* object, double* values) {
    const double_operands operands = is_colon_object(object) ? read_doubles(object) : double_operands{};
    values[0] = operands.start;
    values[1] = operands.step;
    values[2] = operands.stop;
}

void ndGetColonObjValues(const ndArray_tag* object, long long& start, long long& step, long long& stop,
                         double& doubleStep) {
    get_wide_values(object, start, step, stop, doubleStep);
}

void ndGetColonObjValues(const ndArray_tag* object, unsigned long long& start, unsigned long long& step,
                         unsigned long long& stop, double& doubleStep) {
    get_wide_values(object, start, step, stop, doubleStep);
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
