// Short ways of assignment. What doesn't qualify is left to the full way, which gives the same results.
#include "indexing/quick_assignment.hpp"

#include "indexing/numbers.hpp"
#include "indexing/store_loops.hpp"
#include "matrix/accessors.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"

#include <nd/colon.hpp>
#include <nd/scalars.hpp>

#include <array>
#include <cstring>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

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

struct values {
    const std::byte* data;
    bool scalar;
};

// A position is whole and within the array: it has been tested.
template <std::size_t Width, class Index>
void scatter(std::byte* to, const Index* subscripts, std::size_t count, const values& from) noexcept {
    // Subscripts count from 1.
    const auto place = [to](Index subscript) {
        return to + (static_cast<std::uint64_t>(static_cast<std::int64_t>(subscript)) - 1) * Width;
    };
    if (from.scalar) {
        std::array<std::byte, Width> value;
        std::memcpy(value.data(), from.data, Width);
        for (std::size_t i = 0; i < count; ++i) std::memcpy(place(subscripts[i]), value.data(), Width);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) std::memcpy(place(subscripts[i]), from.data + i * Width, Width);
}

template <std::size_t Width>
bool store_through(ndArray_tag* lhs, std::size_t room, const ndArray_tag* subscript, std::size_t count,
                   const values& from) noexcept {
    auto* const to = static_cast<std::byte*>(lhs->pdata);
    const store_kernels& kernels = store_kernels_in_use();
    if (subscript->class_id == ndDOUBLE_CLASS) {
        const auto* const subscripts = static_cast<const double*>(subscript->pdata);
        if (!kernels.doubles_within(subscripts, count, room)) return false;
        scatter<Width>(to, subscripts, count, from);
        return true;
    }
    const auto* const subscripts = static_cast<const std::uint64_t*>(subscript->pdata);
    if (!kernels.words_within(subscripts, count, room)) return false;
    scatter<Width>(to, subscripts, count, from);
    return true;
}

template <std::size_t Width>
void store_block(ndArray_tag* lhs, std::size_t first, std::size_t count, const values& from) noexcept {
    std::byte* const to = static_cast<std::byte*>(lhs->pdata) + first * Width;
    if (from.scalar) {
        fill_block<Width>(to, from.data, count);
    } else {
        std::memcpy(to, from.data, count * Width);
    }
}

// What one subscript selects.
struct selection {
    std::size_t first;
    std::size_t count; // 0: not here
    bool is_block;
};

selection whole_range(const ndArray_tag* colon_object, std::size_t room) noexcept {
    double operands[3];
    api::ndGetColonObjValues(colon_object, operands);
    const double start = operands[0];
    const double stop = operands[2];
    const bool fits = operands[1] == 1 && start >= 1 && start <= stop && stop <= largest_exact &&
                      is_whole(start) && is_whole(stop) && static_cast<std::size_t>(stop) <= room;
    if (!fits) return {0, 0, true};
    const auto first = static_cast<std::size_t>(start) - 1;
    return {first, static_cast<std::size_t>(stop) - first, true};
}

selection select(const ndArray_tag* subscript, std::size_t room) noexcept {
    if (api::ndIsColonIndex(subscript)) return {0, room, true};
    if (is_colon_object(subscript)) return whole_range(subscript, room);
    const std::int32_t id = subscript->class_id;
    const bool is_list = id == ndDOUBLE_CLASS || id == ndINT64_CLASS || id == ndUINT64_CLASS;
    if (!is_list || !is_plain(subscript)) return {0, 0, false};
    return {0, element_count(subscript), false};
}

template <std::size_t Width>
bool assign(ndArray_tag* lhs, std::size_t room, const ndArray_tag* subscript, const selection& selected,
            const values& from) noexcept {
    if (!selected.is_block) return store_through<Width>(lhs, room, subscript, selected.count, from);
    store_block<Width>(lhs, selected.first, selected.count, from);
    return true;
}

bool assign_by_width(ndArray_tag* lhs, std::size_t room, const ndArray_tag* subscript,
                     const selection& selected, const values& from) noexcept {
    switch (element_size(code_of(lhs->class_id, false))) {
    case 1:
        return assign<1>(lhs, room, subscript, selected, from);
    case 2:
        return assign<2>(lhs, room, subscript, selected, from);
    case 4:
        return assign<4>(lhs, room, subscript, selected, from);
    default:
        return assign<8>(lhs, room, subscript, selected, from);
    }
}

} // namespace

bool assign_quickly(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                    const ndArray_tag* rhs) noexcept {
    if (nsubs != 1 || lhs->class_id != rhs->class_id || !is_plain(lhs) || !is_plain(rhs)) return false;
    const ndArray_tag* const subscript = subs[0];
    if (lhs->pdata == rhs->pdata || lhs->pdata == subscript->pdata) return false;
    const std::size_t room = element_count(lhs);
    const std::size_t given = element_count(rhs);
    const selection selected = select(subscript, room);
    if (selected.count == 0 || (given != 1 && given != selected.count)) return false;
    if (!assign_by_width(lhs, room, subscript, selected,
                         {static_cast<const std::byte*>(rhs->pdata), given == 1}))
        return false;
    if (room == 1) refresh_scalar_double(lhs);
    return true;
}

} // namespace matrix::internal
