// The operands of colon objects, read from the bytes that matrix/colon_layout.hpp tells of. Objects are such as is_colon_object() has
// accepted. Reading raises std::bad_alloc where what stands in a separate view can't be brought into the block.
#pragma once

#include "matrix/colon_layout.hpp"
#include "matrix/scaffolding.hpp"

#include <cstring>
#include <type_traits>

namespace matrix::internal {

template <class T>
T operand_at(const ndArray_tag* object, std::size_t offset) noexcept {
    T operand;
    std::memcpy(&operand, static_cast<const std::byte*>(object->pdata) + offset, sizeof operand);
    return operand;
}

inline bool is_whole_step_form(const ndArray_tag* object) noexcept {
    return has_64_bit_ranges(object->class_id) && object->n_or_ndims == columns_of_whole_step;
}

/// The class whose operands are of type T, long long or unsigned long long.
template <class T>
inline constexpr ndClassID wide_class_of = std::is_signed_v<T> ? ndINT64_CLASS : ndUINT64_CLASS;

/// The operands of a class of 64 bits. One of the steps is 0.
template <class T>
struct wide_operands {
    T start;
    T step;
    T stop;
    double double_step;
};

template <class T>
wide_operands<T> read_wide(const ndArray_tag* object) {
    bring_data_up_to_date(object);
    constexpr std::size_t word = sizeof(T);
    const T start = operand_at<T>(object, word);
    const T stop = operand_at<T>(object, 2 * word);
    if (is_whole_step_form(object)) return {start, operand_at<T>(object, 3 * word), stop, 0};
    return {start, 0, stop, operand_at<double>(object, 0)};
}

struct double_operands {
    double start;
    double step;
    double stop;
};

inline double_operands read_doubles(const ndArray_tag* object) {
    bring_data_up_to_date(object);
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

} // namespace matrix::internal
