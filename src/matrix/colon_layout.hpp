// Where a colon object keeps its operands: a row of elements of its own class, whose bytes are
//
//   double step, start, stop          start and stop in the class: every class that has ranges
//   64-bit words 0, start, stop, step int64 and uint64 with a whole step. Their row has 4 columns, that of the other form 3
//
// Operands stand at any alignment: they are read and written by their bytes.
#pragma once

#include "matrix/accessors.hpp"
#include "matrix/dimensions.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Char and the numeric classes.
constexpr bool has_ranges(std::int32_t class_id) noexcept {
    return class_id == ndCHAR_CLASS || (class_id >= ndDOUBLE_CLASS && class_id <= ndUINT64_CLASS);
}

constexpr bool has_64_bit_ranges(std::int32_t class_id) noexcept {
    return class_id == ndINT64_CLASS || class_id == ndUINT64_CLASS;
}

inline constexpr std::size_t columns_of_whole_step = 4;

/// The columns of the row that begins with a double step.
constexpr std::size_t columns_of_double_step(std::int32_t class_id) noexcept {
    const std::size_t size =
        element_size(code_of(class_id, false)); // a power of 2, and no division is as quick
    return (sizeof(double) + 2 * size) >> std::countr_zero(size);
}
static_assert(columns_of_double_step(ndDOUBLE_CLASS) == 3 && columns_of_double_step(ndSINGLE_CLASS) == 4 &&
              columns_of_double_step(ndCHAR_CLASS) == 6 && columns_of_double_step(ndINT8_CLASS) == 10 &&
              columns_of_double_step(ndUINT32_CLASS) == 4 && columns_of_double_step(ndUINT64_CLASS) == 3);

/// Whether the array has the class and the shape of stored operands; the flag isn't looked at.
inline bool has_room_for_operands(const ndArray_tag* array) noexcept {
    if (!has_ranges(array->class_id) || is_complex(array)) return false;
    if (!has_inline_dims(array) || array->m_or_dims != 1) return false;
    const std::size_t columns = array->n_or_ndims;
    return columns == columns_of_double_step(array->class_id) ||
           (columns == columns_of_whole_step && has_64_bit_ranges(array->class_id));
}

/// A range whose operands can be read. A header that lost its data or was given other dimensions isn't one, flag or not.
inline bool is_colon_object(const ndArray_tag* array) noexcept {
    return (array->flags & flag_colon_object) != 0 && array->pdata != nullptr && has_room_for_operands(array);
}

/// A range of doubles, the commonest kind: three doubles lie there.
[[gnu::always_inline]] inline bool is_double_range(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t tested = flag_colon_object | flag_inline_dims | flag_complex;
    return (array->flags & tested) == (flag_colon_object | flag_inline_dims) && array->pdata != nullptr &&
           array->class_id == ndDOUBLE_CLASS && array->m_or_dims == 1 &&
           array->n_or_ndims == columns_of_double_step(ndDOUBLE_CLASS);
}

} // namespace matrix::internal
