// Subscripted reference of full arrays of plain elements where the positions needn't be listed.
//
//   x(s)      s the colon, a range, a single double, or a full array of doubles, of 64-bit integers or of logical values
//   x(r, c)   each the colon, a range, a single double, or a full array of doubles or 64-bit integers that isn't long: its positions
//             are listed on the stack
//
// All but the values of s is tested before the result is made. Where a value is no position of x the result is given up, and the
// general way finds out what is to be raised.
#include "indexing/reference.hpp"

#include "indexing/element_read.hpp"
#include "indexing/folded_dimensions.hpp"
#include "indexing/position_steps.hpp"
#include "indexing/reference_kernels.hpp"
#include "indexing/reference_shape.hpp"
#include "indexing/scalar_index.hpp"
#include "indexing/subscript_kernel_choice.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/complexity.hpp"
#include "matrix/numeric_creation.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_limit.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>
#include <utility>

namespace matrix::internal {
namespace {

using foundation::core::cpu::kernel_family;

constexpr kernel_family<reference_kernels> family{
    {&reference_kernels_baseline, &reference_kernels_avx2, &reference_kernels_avx512}};

// Data that lie in pdata as they are.
bool is_full_and_current(const ndArray_tag* array) {
    constexpr std::uint32_t other_storage = flag_sparse | flag_colon_object | flag_indexing_opaque;
    if ((array->flags & other_storage) != 0 || array->pdata == nullptr) return false;
    const scaffolding* const view = view_of(array);
    return view == nullptr || !view->is_split;
}

struct plain_source {
    explicit plain_source(const ndArray_tag* array) noexcept
        : header(array),
          data(static_cast<const std::byte*>(array->pdata)),
          code(code_of(array)),
          size(element_size(code)) {}

    std::size_t width() const noexcept { return static_cast<std::size_t>(std::countr_zero(size)); }

    const ndArray_tag* header;
    const std::byte* data;
    NdArrayTypeId code;
    std::size_t size;
};

// Null where the user's limit forbids it.
array_ptr create_like(const plain_source& source, dims_view dims, std::size_t count) {
    const std::uint64_t limit = array_size_limit();
    if (limit != 0 && count * source.size > limit) return nullptr;
    ndArray_tag* pair = nullptr;
    if (dims.size() == 2)
        pair = take_ready_pair(source.code, dims[0], dims[1], DataInitialization::uninitialized);
    array_ptr result = pair != nullptr ? array_ptr(pair)
                                       : create_numeric(dims, source.code, DataInitialization::uninitialized);
    result->flags |= source.header->flags & flags_kept_by_reference;
    return result;
}

array_ptr finished(const plain_source& source, array_ptr result) {
    if (is_complex_code(source.code)) {
        free_imag_if_zero(result.get());
        refresh_scalar_double(result.get());
    }
    return result;
}

void copy_positions(const plain_source& source, const position_steps& steps, std::size_t offset,
                    std::byte* to) {
    const std::byte* const from = source.data + (offset + steps.first) * source.size;
    if (steps.step == 1) {
        std::memcpy(to, from, steps.count * source.size);
    } else {
        family.get().stride[source.width()](from, steps.step, steps.count, to);
    }
}

array_ptr reference_steps(const plain_source& source, const position_steps& steps, dims_view dims) {
    array_ptr result = create_like(source, dims, steps.count);
    if (!result) return nullptr;
    if (steps.count != 0) copy_positions(source, steps, 0, static_cast<std::byte*>(result->pdata));
    return finished(source, std::move(result));
}

// The most frequent of all. No limit of the user is as low as one element.
array_ptr reference_element(const plain_source& source, std::size_t position) {
    array_ptr result(take_ready_pair(source.code, 1, 1, DataInitialization::uninitialized));
    const std::size_t dims[] = {1, 1};
    if (!result) result = create_numeric(dims, source.code, DataInitialization::uninitialized);
    result->flags |= source.header->flags & flags_kept_by_reference;
    const std::byte* const from = source.data + position * source.size;
    if (source.size == sizeof(double)) {
        std::memcpy(result->pdata, from, sizeof(double));
    } else {
        std::memcpy(result->pdata, from, source.size);
    }
    return finished(source, std::move(result));
}

// A value that is no position is told even where there is no memory for the result.
array_ptr create_for_untested(const plain_source& source, dims_view dims, std::size_t count,
                              const ndArray_tag* subscript, std::size_t elements) {
    try {
        return create_like(source, dims, count);
    } catch (...) {
        SubscriptSet set(1, true, false);
        fill_within(set, source.header, std::span(&elements, 1), std::span(&subscript, 1));
        throw;
    }
}

array_ptr reference_listed(const plain_source& source, std::size_t elements, const ndArray_tag* subscript,
                           gather_kernel gather) {
    const std::size_t count = element_count(subscript);
    const dims_list dims = linear_reference_dims(dims_of(source.header), elements, subscript, count);
    array_ptr result = create_for_untested(source, dims, count, subscript, elements);
    if (!result) return nullptr;
    if (!gather(subscript->pdata, count, source.data, elements, result->pdata)) return nullptr;
    return finished(source, std::move(result));
}

array_ptr reference_masked(const plain_source& source, std::size_t elements, const ndArray_tag* subscript) {
    const auto* const bytes = static_cast<const std::uint8_t*>(subscript->pdata);
    const std::size_t length = element_count(subscript);
    const std::size_t within = std::min(length, elements);
    const auto count_true = subscript_loops_here().count_true;
    const std::size_t count = count_true(bytes, within);
    if (count_true(bytes + within, length - within) != 0) return nullptr;
    const dims_list dims = linear_reference_dims(dims_of(source.header), elements, subscript, count);
    array_ptr result = create_like(source, dims, count);
    if (!result) return nullptr;
    if (count != 0) family.get().pack[source.width()](bytes, source.data, result->pdata, count);
    return finished(source, std::move(result));
}

array_ptr reference_linear(const plain_source& source, const ndArray_tag* subscript) {
    const dims_view own = dims_of(source.header);
    const std::size_t elements = element_count(source.header);
    if (const kvIndex index = plain_scalar_index(subscript); index != 0)
        return index <= elements ? reference_element(source, index - 1) : nullptr;
    if (const auto steps = steps_within(subscript, elements))
        return reference_steps(source, *steps, linear_reference_dims(own, elements, subscript, steps->count));
    if (!is_full_and_current(subscript) || is_complex(subscript)) return nullptr;
    switch (subscript->class_id) {
    case ndDOUBLE_CLASS:
        return reference_listed(source, elements, subscript, family.get().by_doubles[source.width()]);
    case ndINT64_CLASS:
    case ndUINT64_CLASS:
        return reference_listed(source, elements, subscript, family.get().by_wide[source.width()]);
    case ndLOGICAL_CLASS:
        return reference_masked(source, elements, subscript);
    default:
        return nullptr;
    }
}

// Room for the positions of one subscript among two.
using position_buffer = std::array<kvIndex, 512>;

// One dimension of a block.
struct axis {
    position_steps steps;
    const kvIndex* listed = nullptr; // steps.count positions in place of the steps

    std::size_t position(std::size_t k) const noexcept {
        return listed != nullptr ? listed[k] : steps.first + k * steps.step;
    }
};

std::optional<axis> listed_within(const ndArray_tag* subscript, std::size_t dim, position_buffer& buffer) {
    const bool is_wide = subscript->class_id == ndINT64_CLASS || subscript->class_id == ndUINT64_CLASS;
    if (!is_wide && subscript->class_id != ndDOUBLE_CLASS) return std::nullopt;
    const std::size_t count = element_count(subscript);
    if (!is_full_and_current(subscript) || is_complex(subscript) || count > buffer.size() || count == 0)
        return std::nullopt;
    const subscript_kernels& kernels = subscript_loops_here();
    std::uint64_t largest = 0;
    if (!(is_wide ? kernels.wide : kernels.doubles)(subscript->pdata, count, buffer.data(), &largest))
        return std::nullopt;
    return largest <= dim ? std::optional(axis{{0, 0, count}, buffer.data()}) : std::nullopt;
}

std::optional<axis> axis_within(const ndArray_tag* subscript, std::size_t dim, position_buffer& buffer) {
    if (const auto steps = steps_within(subscript, dim)) return axis{*steps};
    return listed_within(subscript, dim, buffer);
}

template <std::size_t Width>
void copy_listed_rows(const std::byte* data, std::size_t height, const axis& down, const axis& across,
                      void* to) {
    byte_reader<Width> reader(to);
    const position_run rows{down.steps.count, down.listed, slot_kind::list, 1};
    for (std::size_t j = 0; j < across.steps.count; ++j)
        reader(rows, data + across.position(j) * height * Width);
}

constexpr std::array<void (*)(const std::byte*, std::size_t, const axis&, const axis&, void*),
                     element_width_count>
    listed_rows_by_width{copy_listed_rows<1>, copy_listed_rows<2>, copy_listed_rows<4>, copy_listed_rows<8>,
                         copy_listed_rows<16>};

void copy_block(const plain_source& source, std::size_t height, const axis& down, const axis& across,
                void* target) {
    if (down.listed != nullptr)
        return listed_rows_by_width[source.width()](source.data, height, down, across, target);
    auto* to = static_cast<std::byte*>(target);
    for (std::size_t j = 0; j < across.steps.count; ++j, to += down.steps.count * source.size)
        copy_positions(source, down.steps, across.position(j) * height, to);
}

array_ptr reference_block(const plain_source& source, const ndArray_tag* rows, const ndArray_tag* columns) {
    const dims_view own = dims_of(source.header);
    const std::size_t height = folded_dimension(own, 2, 0);
    position_buffer row_buffer;
    position_buffer column_buffer;
    const auto down = axis_within(rows, height, row_buffer);
    if (!down) return nullptr;
    const auto across = axis_within(columns, folded_dimension(own, 2, 1), column_buffer);
    if (!across) return nullptr;
    const std::size_t dims[] = {down->steps.count, across->steps.count};
    const std::size_t count = saturated_product(dims[0], dims[1]);
    if (saturated_product(count, source.size) > address_ceiling) return nullptr;
    array_ptr result = create_like(source, dims, count);
    if (!result) return nullptr;
    if (count != 0) copy_block(source, height, *down, *across, result->pdata);
    return finished(source, std::move(result));
}

} // namespace

array_ptr reference_at_once(const ndArray_tag* array, subscript_span subs) {
    if (!has_plain_elements(array->class_id) || subs.size() > 2 || !is_full_and_current(array))
        return nullptr;
    const plain_source source(array);
    if (source.size == 0) return nullptr;
    return subs.size() == 1 ? reference_linear(source, subs[0]) : reference_block(source, subs[0], subs[1]);
}

} // namespace matrix::internal
