// Growth of a data block, one routine for each element width.
//
//   tracked capacity reaches the new count   elements move within the block, if they move at all
//   otherwise                                a new block: of the exact size the first time, later with spare room; when that
//                                            can't be had, of the exact size
//
// A layout that only its last dimension changes leaves the old elements where they are.
#include "matrix/resize.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/resize_kernels.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <algorithm>

namespace matrix::internal {
namespace {

bool layout_changes(dims_view old_dims, dims_view new_dims) noexcept {
    if (old_dims.size() < 2) return false;
    const auto end = old_dims.end() - 1;
    const auto differs = std::mismatch(old_dims.begin(), end, new_dims.begin());
    if (differs.first == end) return false;
    // A vector that grows along its own dimension keeps its elements in place.
    const auto large = [](std::size_t dim) { return dim >= 2; };
    if (std::count_if(old_dims.begin(), old_dims.end(), large) != 1) return true;
    return std::find_if(old_dims.begin(), old_dims.end(), large) != differs.first;
}

struct new_block {
    std::byte* data = nullptr;
    bool tracked = false;
};

// Spare room is a gift: without it the exact size will do.
new_block allocate_for(std::size_t wanted, std::size_t needed, std::size_t width, bool zeroed) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const auto try_allocate = [&](std::size_t count) {
        return static_cast<std::byte*>(zeroed ? heap.calloc(count, width) : heap.malloc(count * width));
    };
    if (std::byte* data = try_allocate(wanted)) return {data, wanted > needed};
    if (wanted > needed) {
        if (std::byte* data = try_allocate(needed)) return {data, false};
    }
    throw foundation::core::except::bad_alloc{};
}

template <std::size_t Width>
void write_elements(const std::byte* from, std::byte* to, const growth& change, bool must_move) noexcept {
    if (from != nullptr && change.old_count != 0 && change.keep && must_move) {
        relocate_elements<Width>(from, change.old_dims, to, change.new_dims, change.filler);
        return;
    }
    fill_elements<Width>(to + change.old_count * Width, change.new_count - change.old_count, change.filler);
}

template <std::size_t Width>
void grow(ndArray_tag* array, const growth& change) {
    auto* const old_data = static_cast<std::byte*>(array->pdata);
    const bool was_tracked = (array->flags & flag_capacity_tracked) != 0;
    const std::size_t room = was_tracked ? capacity_for(change.old_count) : change.old_count;
    if (was_tracked && old_data != nullptr && room >= change.new_count) {
        write_elements<Width>(old_data, old_data, change, layout_changes(change.old_dims, change.new_dims));
        return;
    }
    if (change.new_count == 0) return;
    const std::size_t wanted = room == 0 ? change.new_count : capacity_for(change.new_count);
    const new_block block = allocate_for(wanted, change.new_count, Width, old_data == nullptr);
    if (!change.keep && old_data != nullptr) std::memcpy(block.data, old_data, change.old_count * Width);
    write_elements<Width>(old_data, block.data, change, true);
    replace_block(array, block.data);
    end_view(array); // parts that were kept for the old block
    if (block.tracked) array->flags |= flag_capacity_tracked;
}

bool is_heap_block(const ndArray_tag* array) noexcept {
    return (array->flags & flag_data_private) == 0 && !array->hasCustomDeleter();
}

constexpr std::size_t widest_element = 32;

using grow_routine = void (*)(ndArray_tag*, const growth&);

template <std::size_t... Widths>
struct width_list {
    static constexpr bool contains(std::size_t width) noexcept { return ((width == Widths) || ...); }

    // The routine of a width stands at the width; null marks classes without elements.
    static constexpr std::array<grow_routine, widest_element + 1> routines() noexcept {
        std::array<grow_routine, widest_element + 1> table{};
        ((table[Widths] = grow<Widths>), ...);
        return table;
    }
};
using element_widths = width_list<1, 2, 4, 8, 16, 32>;

constexpr auto grow_routines = element_widths::routines();

constexpr bool every_class_has_a_routine() {
    return std::all_of(element_sizes.begin(), element_sizes.end(),
                       [](std::size_t size) { return size == 0 || element_widths::contains(size); });
}
static_assert(every_class_has_a_routine());

} // namespace

void grow_data(ndArray_tag* array, const growth& change) {
    const grow_routine routine = grow_routines[stored_element_size(array)];
    if (routine == nullptr) return;
    array->interleave_data();
    routine(array, change);
}

void add_missing_block(ndArray_tag* array) {
    if (array->pdata != nullptr || (array->flags & (flag_sparse | flag_indexing_opaque)) != 0) return;
    const std::size_t count = is_container_class(array->class_id) ? slot_count(array) : element_count(array);
    const std::size_t bytes = saturated_product(count, stored_element_size(array));
    if (bytes != 0) replace_block(array, allocate_data(bytes, DataInitialization::zeroed));
}

void shrink_data(ndArray_tag* array, std::size_t bytes) noexcept {
    if (bytes == 0) {
        replace_block(array, nullptr);
    } else if (is_heap_block(array)) {
        void* const cut = foundation::core::mem::aligned_heap_instance().realloc(array->pdata, bytes);
        if (cut == nullptr) return;
        array->pdata = cut;
        array->flags &= ~flag_capacity_tracked;
    }
}

} // namespace matrix::internal
