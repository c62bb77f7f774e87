// How elements go, by class.
//
//   logical, char, numeric   those that stay are copied to a new array, whose value moves onto the header
//   cell, struct, object     the references that stay are copied as bytes to a new block, which takes the place of the old one; those that
//                            go end in their order, each slot null before, and where others hear of that when the array is whole again.
//                            Nothing can fail once the block is there
//   function handle, opaque  those that stay are copied as their makers tell, since each copy counts; the old array ends as a whole
#include "indexing/delete_positions.hpp"

#include "errors/raise.hpp"
#include "indexing/kernel_choice.hpp"
#include "indexing/reference.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/complexity.hpp"
#include "matrix/containers.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/ending_elements.hpp"
#include "matrix/function_records.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/unshare.hpp"

#include <nd/share.hpp>

#include <bit>
#include <cstring>
#include <new>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr std::size_t widest_packed = std::size_t{1} << (element_width_count - 1);

std::size_t kept_count(const deletion& what) noexcept { return what.inner * what.keep.count * what.outer; }

// Calls copy(first, count) for blocks of elements that stay. Where one run goes, what stays behind it and in front of it the next time
// lies together. A block may belong to an array that a dimension of 0 has left without elements.
template <class Copy>
void for_each_kept_block(const deletion& what, Copy&& copy) {
    const keep_list& keep = what.keep;
    if (kept_count(what) == 0) return;
    if (keep.marks != nullptr) {
        for (std::size_t pass = 0; pass < what.outer; ++pass)
            for_each_kept_run(keep, [&](kvSize first, kvSize count) {
                copy((pass * keep.dim + first) * what.inner, count * what.inner);
            });
        return;
    }
    if (keep.head != 0) copy(std::size_t{0}, keep.head * what.inner);
    for (std::size_t pass = 1; pass <= what.outer; ++pass) {
        const kvSize count = keep.tail + (pass < what.outer ? keep.head : 0);
        if (count != 0) copy((pass * keep.dim - keep.tail) * what.inner, count * what.inner);
    }
}

void copy_kept(const void* source, void* target, std::size_t width, const deletion& what) noexcept {
    const auto* const from = static_cast<const std::byte*>(source);
    auto* to = static_cast<std::byte*>(target);
    if (what.keep.marks != nullptr && what.inner == 1 && width <= widest_packed) {
        const keep_list& keep = what.keep;
        const pack_kernel pack =
            reference_loops_here().pack[static_cast<std::size_t>(std::countr_zero(width))];
        for (std::size_t pass = 0; pass < what.outer; ++pass)
            pack(keep.marks.get(), from + pass * keep.dim * width, to + pass * keep.count * width,
                 keep.count);
        return;
    }
    for_each_kept_block(what, [&](std::size_t first, std::size_t count) {
        std::memcpy(to, from + first * width, count * width);
        to += count * width;
    });
}

void move_onto(ndArray_tag* array, array_ptr value) { api::ndMoveArrayOntoHeader(array, value.release()); }

// A header that has nothing but a block of plain elements and two dimensions.
bool is_bare(const ndArray_tag* array) noexcept {
    return array->share_record == nullptr && (array->flags & flag_shared_data) == 0 &&
           array->root_record == nullptr && array->dims32 == nullptr && has_inline_dims(array);
}

// The same where both headers are of one class of plain elements. Bare ones swap what they have, and the value ends as any array does.
void move_plain_onto(ndArray_tag* array, array_ptr value) {
    if (!is_bare(array) || !is_bare(value.get())) return move_onto(array, std::move(value));
    std::swap(array->pdata, value->pdata);
    std::swap(array->m_or_dims, value->m_or_dims);
    std::swap(array->n_or_ndims, value->n_or_ndims);
    std::swap(array->flags, value->flags);
    array->flags &= ~(flag_reusable | flag_empty_square_bracket);
}

void delete_plain(ndArray_tag* array, const deletion& what) {
    bring_data_up_to_date(array);
    array_ptr result = matrix::detail::do_create_uninitnumeric(what.shape, code_of(array));
    result->flags |= array->flags & flags_kept_by_reference;
    copy_kept(array->pdata, result->pdata, stored_element_size(array), what);
    if (is_complex(result.get())) free_imag_if_zero(result.get());
    move_plain_onto(array, std::move(result));
}

void empty_slots(ndArray_tag* container, std::size_t first, std::size_t count, ending_elements& to) noexcept {
    ndArray_tag** const slots = slots_of(container) + first;
    for (std::size_t i = 0; i < count; ++i) to.add(std::exchange(slots[i], nullptr));
}

// Slots that somebody else has as well are no longer the array's to move.
void own_slots(ndArray_tag* container) {
    if (has_shared_data(container) || has_borrowed_data(container)) unshare_shallow(container);
}

void delete_slots(ndArray_tag* array, const deletion& what) {
    constexpr std::size_t width = sizeof(ndArray_tag*);
    prepared_dims dims(what.shape, array);
    data_block block(allocate_data(kept_count(what) * width, DataInitialization::uninitialized));
    own_slots(array);
    copy_kept(array->pdata, block.get(), width, what);
    ending_elements deleted;
    for (std::size_t pass = 0; pass < what.outer; ++pass)
        for_each_deleted_run(what.keep, [&](kvSize first, kvSize count) {
            empty_slots(array, (pass * what.keep.dim + first) * what.inner, count * what.inner, deleted);
        });
    replace_block(array, block.release());
    dims.commit_to(array);
}

void copy_counted(const ndArray_tag* source, std::size_t first, void* to, std::size_t count,
                  const ndArray_tag* holder) {
    const std::size_t width = stored_element_size(source);
    const auto* const from = static_cast<const std::byte*>(source->pdata) + first * width;
    if (source->class_id == ndFUNCTION_CLASS) return copy_function_records(from, to, count, holder);
    for (std::size_t i = 0; i < count; ++i) {
        const void* element;
        std::memcpy(&element, from + i * width, width);
        if (element != nullptr) static_cast<void**>(to)[i] = copy_opaque_element(source, element);
    }
}

void delete_counted(ndArray_tag* array, const deletion& what) {
    const std::size_t width = stored_element_size(array);
    array_ptr result = create_empty_copy(array);
    result->set_dimensions(what.shape);
    data_copy copy(result.get());
    auto* to = static_cast<std::byte*>(copy.allocate(kept_count(what), width, DataInitialization::zeroed));
    try {
        for_each_kept_block(what, [&](std::size_t first, std::size_t count) {
            copy_counted(array, first, to, count, result.get());
            to += count * width;
        });
    } catch (const std::bad_alloc&) { // as in reference of the same elements
        errors::raise<TARVEL::legacy_two_part::nomem>();
    }
    put_data(result.get(), copy.take());
    move_onto(array, std::move(result));
}

} // namespace

void delete_positions(ndArray_tag* array, const deletion& what) {
    if (array->pdata == nullptr) {
        prepared_dims dims(what.shape, array);
        free_imag_if_zero(array);
        dims.commit_to(array);
    } else if (is_container_class(array->class_id)) {
        delete_slots(array, what);
    } else if (has_plain_elements(array->class_id)) {
        delete_plain(array, what);
    } else {
        delete_counted(array, what);
    }
}

void delete_everything(ndArray_tag* array, dims_view shape) {
    if (is_container_class(array->class_id)) {
        prepared_dims dims(shape, array);
        own_slots(array);
        ending_elements deleted;
        if (array->pdata != nullptr) empty_slots(array, 0, slot_count(array), deleted);
        replace_block(array, nullptr);
        dims.commit_to(array);
        return;
    }
    array_ptr result = create_empty_copy(array);
    result->set_dimensions(shape);
    result->flags &= ~flag_complex;
    const std::uint32_t literal =
        array->flags & flag_empty_square_bracket; // which it stays, as containers do
    move_onto(array, std::move(result));
    array->flags |= literal;
}

} // namespace matrix::internal
