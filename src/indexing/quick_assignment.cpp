// Short ways of assignment. What doesn't qualify is left to the full way, which gives the same results.
#include "indexing/quick_assignment.hpp"

#include "indexing/folded_dimensions.hpp"
#include "indexing/position_steps.hpp"
#include "indexing/store_loops.hpp"
#include "matrix/accessors.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"

#include <bit>
#include <cstring>
#include <optional>

namespace matrix::internal {
namespace {

bool has_current_data(const ndArray_tag* array) noexcept {
    if (array->pdata == nullptr) return false;
    const scaffolding* const view = view_of(array);
    return view == nullptr || !view->is_split;
}

// Real elements of plain bytes that lie as they are told.
bool is_plain(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t refused =
        flag_sparse | flag_colon_object | flag_indexing_opaque | flag_empty_square_bracket;
    return has_plain_elements(array->class_id) && (array->flags & refused) == 0 && !is_complex(array) &&
           has_current_data(array);
}

// The right-hand side, as far as it has been stored.
struct value_source {
    const std::byte* next;
    bool scalar;

    const std::byte* take(std::size_t bytes) noexcept {
        const std::byte* const taken = next;
        if (!scalar) next += bytes;
        return taken;
    }
};

template <std::size_t Width>
void store_steps(std::byte* to, const position_steps& steps, value_source& from) noexcept {
    const std::byte* const values = from.take(steps.count * Width);
    const std::size_t stride = from.scalar ? 0 : Width;
    std::byte* const first = to + steps.first * Width;
    if (steps.count == 1) {
        std::memcpy(first, values, Width);
    } else if (steps.step == 1 && from.scalar) {
        fill_block<Width>(first, values, steps.count);
    } else if (steps.step == 1) {
        std::memcpy(first, values, steps.count * Width);
    } else {
        const auto step =
            static_cast<std::ptrdiff_t>(steps.step * Width); // of a range that descends, below 0
        for (std::size_t i = 0; i < steps.count; ++i)
            std::memcpy(first + static_cast<std::ptrdiff_t>(i) * step, values + i * stride, Width);
    }
}

bool fits(const ndArray_tag* rhs, std::size_t count) noexcept {
    const std::size_t given = element_count(rhs);
    return count != 0 && (given == 1 || given == count);
}

// Every subscript is tested before the first value is stored.
template <std::size_t Width>
bool assign_listed(ndArray_tag* lhs, std::size_t room, const ndArray_tag* subscript, const ndArray_tag* rhs,
                   value_source from) noexcept {
    const std::int32_t id = subscript->class_id;
    const bool wide = id == ndINT64_CLASS || id == ndUINT64_CLASS;
    if ((!wide && id != ndDOUBLE_CLASS) || !is_plain(subscript) || subscript->pdata == lhs->pdata)
        return false;
    const std::size_t count = element_count(subscript);
    if (!fits(rhs, count)) return false;
    const store_kernels& kernels = store_kernels_in_use();
    const void* const list = subscript->pdata;
    const bool within = wide ? kernels.words_within(static_cast<const std::uint64_t*>(list), count, room)
                             : kernels.doubles_within(static_cast<const double*>(list), count, room);
    if (!within) return false;
    constexpr auto width = static_cast<std::size_t>(std::countr_zero(Width));
    const scatter_kernel scatter = (wide ? kernels.scatter_by_words : kernels.scatter_by_doubles)[width];
    scatter(lhs->pdata, list, count, from.next, from.scalar ? 0 : Width);
    return true;
}

template <std::size_t Width>
bool assign_vector(ndArray_tag* lhs, const ndArray_tag* subscript, const ndArray_tag* rhs,
                   value_source from) noexcept {
    const std::size_t room = element_count(lhs);
    const std::optional<position_steps> steps = steps_within(subscript, room);
    if (!steps) return assign_listed<Width>(lhs, room, subscript, rhs, from);
    if (!fits(rhs, steps->count)) return false;
    store_steps<Width>(static_cast<std::byte*>(lhs->pdata), *steps, from);
    return true;
}

// A row or a column fits both; anything else must have the shape that is selected.
bool fits_block(const ndArray_tag* rhs, std::size_t rows, std::size_t columns) noexcept {
    if (!fits(rhs, rows * columns)) return false;
    if (element_count(rhs) == 1) return true;
    const dims_view dims = dims_of(rhs);
    if (dims.size() != 2) return false;
    if (dims[0] == rows && dims[1] == columns) return true;
    return (rows == 1 || columns == 1) && (dims[0] == 1 || dims[1] == 1);
}

template <std::size_t Width>
bool assign_block(ndArray_tag* lhs, const ndArray_tag* const* subs, const ndArray_tag* rhs,
                  value_source from) noexcept {
    const dims_view dims = dims_of(lhs);
    const std::optional<position_steps> rows = steps_within(subs[0], dims[0]);
    if (!rows) return false;
    const std::optional<position_steps> columns = steps_within(subs[1], folded_dimension(dims, 2, 1));
    if (!columns || !fits_block(rhs, rows->count, columns->count)) return false;
    auto* const data = static_cast<std::byte*>(lhs->pdata);
    for (std::size_t i = 0; i < columns->count; ++i)
        store_steps<Width>(data + (columns->first + i * columns->step) * dims[0] * Width, *rows, from);
    return true;
}

template <std::size_t Width>
bool assign(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs, const ndArray_tag* rhs,
            value_source from) noexcept {
    return nsubs == 1 ? assign_vector<Width>(lhs, subs[0], rhs, from)
                      : assign_block<Width>(lhs, subs, rhs, from);
}

bool assign_by_width(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                     const ndArray_tag* rhs) noexcept {
    const value_source from{static_cast<const std::byte*>(rhs->pdata), element_count(rhs) == 1};
    switch (element_size(code_of(lhs->class_id, false))) {
    case 1:
        return assign<1>(lhs, nsubs, subs, rhs, from);
    case 2:
        return assign<2>(lhs, nsubs, subs, rhs, from);
    case 4:
        return assign<4>(lhs, nsubs, subs, rhs, from);
    default:
        return assign<8>(lhs, nsubs, subs, rhs, from);
    }
}

} // namespace

bool assign_quickly(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                    const ndArray_tag* rhs) noexcept {
    if ((nsubs != 1 && nsubs != 2) || lhs->class_id != rhs->class_id || !is_plain(lhs) || !is_plain(rhs) ||
        lhs->pdata == nullptr || rhs->pdata == nullptr || lhs->pdata == rhs->pdata)
        return false;
    if (!assign_by_width(lhs, nsubs, subs, rhs)) return false;
    if (lhs->class_id == ndDOUBLE_CLASS) refresh_scalar_double(lhs);
    return true;
}

} // namespace matrix::internal
