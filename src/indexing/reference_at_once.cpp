// Subscripted reference of full arrays of plain elements where the positions needn't be listed.
//
//   x(s)         s the colon, a range, a single double, or a full array of doubles, of 64-bit integers or of logical values: here
//   x(r, c, ...) reference_block.cpp
//
// All but the values of s is tested before the result is made. Where a value is no position of x the result is given up, and the
// general way finds out what is to be raised.
#include "indexing/reference.hpp"

#include "indexing/kernel_choice.hpp"
#include "indexing/plain_source.hpp"
#include "indexing/position_steps.hpp"
#include "indexing/reference_shape.hpp"

#include "matrix/numeric_creation.hpp"
#include "matrix/size_limit.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace matrix::internal {
namespace {

// Of few elements the loops do most one by one under any instruction set: the choice would take as long.
const reference_kernels& kernels_for(std::size_t count) noexcept {
    constexpr std::size_t few = 32;
    return count < few ? reference_kernels_baseline : reference_loops_here();
}

// For count elements along a dimension of x, counted from 1, or with 0 as the subscript lies.
[[gnu::always_inline]] inline array_ptr
create_linear(const plain_source& source, const ndArray_tag* subscript, std::size_t line, std::size_t count) {
    if (line == 0 && has_inline_dims(subscript))
        return create_like(source, subscript->m_or_dims, subscript->n_or_ndims);
    if (line == 1 && has_inline_dims(source.header)) return create_like(source, count, 1);
    if (line == 2 && has_inline_dims(source.header)) return create_like(source, 1, count);
    const dims_view own = dims_of(source.header);
    return create_like(source, linear_reference_dims(own, element_count(source.header), subscript, count),
                       count);
}

array_ptr reference_steps(const plain_source& source, const position_steps& steps,
                          const ndArray_tag* subscript) {
    const bool ranges = (subscript->flags & flag_colon_object) != 0;
    const bool whole = subscript->class_id == ndCHAR_CLASS && !ranges;
    const std::size_t line = ranges ? line_of_range(orient(dims_of(source.header))) : std::size_t{whole};
    array_ptr result = create_linear(source, subscript, line, steps.count);
    if (!result) return nullptr;
    if (steps.count != 0) {
        const std::byte* const from = source.data + steps.first * source.size;
        if (steps.step == 1) {
            std::memcpy(result->pdata, from, steps.count * source.size);
        } else {
            kernels_for(steps.count).stride[source.width()](from, steps.step, steps.count, result->pdata);
        }
    }
    return finished(source, std::move(result));
}

// The most frequent of all.
array_ptr reference_element(const plain_source& source, std::size_t position) {
    array_ptr result = create_like(source, 1, 1);
    if (!result) return nullptr;
    const std::byte* const from = source.data + position * source.size;
    if (source.size == sizeof(double)) {
        std::memcpy(result->pdata, from, sizeof(double));
    } else {
        std::memcpy(result->pdata, from, source.size);
    }
    return finished(source, std::move(result));
}

// A value that is no position is told even where there is no memory for the result.
array_ptr create_for_untested(const plain_source& source, std::size_t count, const ndArray_tag* subscript,
                              std::size_t elements) {
    const std::size_t line = line_of_list(orient(dims_of(source.header)), orient(dims_of(subscript)));
    try {
        return create_linear(source, subscript, line, count);
    } catch (...) {
        SubscriptSet set(1, true, false);
        fill_within(set, source.header, std::span(&elements, 1), std::span(&subscript, 1));
        throw;
    }
}

array_ptr reference_listed(const plain_source& source, std::size_t elements, const ndArray_tag* subscript,
                           std::array<gather_kernel, element_width_count> reference_kernels::*gather) {
    const std::size_t count = element_count(subscript);
    array_ptr result = create_for_untested(source, count, subscript, elements);
    if (!result) return nullptr;
    const gather_kernel kernel = (kernels_for(count).*gather)[source.width()];
    if (!kernel(subscript->pdata, count, source.data, elements, result->pdata)) return nullptr;
    return finished(source, std::move(result));
}

array_ptr reference_masked(const plain_source& source, std::size_t elements, const ndArray_tag* subscript) {
    const auto* const bytes = static_cast<const std::uint8_t*>(subscript->pdata);
    const std::size_t length = element_count(subscript);
    const std::size_t within = std::min(length, elements);
    const auto count_true = subscript_loops_here().count_true;
    const std::size_t count = count_true(bytes, within);
    if (length != within && count_true(bytes + within, length - within) != 0) return nullptr;
    const dims_view mask = dims_of(subscript);
    const std::size_t line = line_of_mask(orient(dims_of(source.header)), orient(mask));
    array_ptr result = selects_no_line(mask, count) ? create_like(source, 0, 0)
                                                    : create_linear(source, subscript, line, count);
    if (!result) return nullptr;
    if (count != 0) reference_loops_here().pack[source.width()](bytes, source.data, result->pdata, count);
    return finished(source, std::move(result));
}

array_ptr reference_linear(const plain_source& source, const ndArray_tag* subscript) {
    const std::size_t elements = element_count(source.header);
    if (const kvIndex index = plain_scalar_index(subscript); index != 0)
        return index <= elements ? reference_element(source, index - 1) : nullptr;
    if (const auto steps = steps_within(subscript, elements))
        return reference_steps(source, *steps, subscript);
    if (!is_full_and_current(subscript) || is_complex(subscript)) return nullptr;
    switch (subscript->class_id) {
    case ndDOUBLE_CLASS:
        return reference_listed(source, elements, subscript, &reference_kernels::by_doubles);
    case ndINT64_CLASS:
    case ndUINT64_CLASS:
        return reference_listed(source, elements, subscript, &reference_kernels::by_wide);
    case ndLOGICAL_CLASS:
        return reference_masked(source, elements, subscript);
    default:
        return nullptr;
    }
}

} // namespace

array_ptr create_like(const plain_source& source, dims_view dims, std::size_t count) {
    const std::uint64_t limit = array_size_limit();
    if (limit != 0 && count * source.size > limit) return nullptr;
    array_ptr result = create_numeric(dims, source.code, DataInitialization::uninitialized);
    result->flags |= source.header->flags & flags_kept_by_reference;
    return result;
}

array_ptr reference_at_once(const ndArray_tag* array, subscript_span subs) {
    if (!has_plain_elements(array->class_id) || !is_full_and_current(array)) return nullptr;
    const plain_source source(array);
    if (source.size == 0) return nullptr;
    return subs.size() == 1 ? reference_linear(source, subs[0]) : reference_block(source, subs);
}

} // namespace matrix::internal
