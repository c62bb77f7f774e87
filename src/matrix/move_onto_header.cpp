// A value moves onto a header that others already point to. The move itself can't fail; only a value whose header has other
// owners needs a shared copy first.
#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/empty_header.hpp"
#include "matrix/frame.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sharing.hpp"

#include <nd/share.hpp>

#include <algorithm>
#include <utility>

namespace matrix::internal {
namespace {

// The words of a header that make its value; what tells who holds the header stays.
void move_words(ndArray_tag* dest, ndArray_tag* src) noexcept {
    dest->next = std::exchange(src->next, nullptr);
    dest->class_id = std::exchange(src->class_id, std::int32_t{ndUNKNOWN_CLASS});
    dest->m_or_dims = std::exchange(src->m_or_dims, 0);
    dest->n_or_ndims = std::exchange(src->n_or_ndims, 0);
    dest->pdata = std::exchange(src->pdata, nullptr);
    dest->info_a = std::exchange(src->info_a, 0);
    dest->info_b = std::exchange(src->info_b, 0);
    dest->info_c = std::exchange(src->info_c, 0);
    dest->dims32 = std::exchange(src->dims32, nullptr);
}

void move_share_record(ndArray_tag* dest, ndArray_tag* src) noexcept {
    dest->share_record = std::exchange(src->share_record, nullptr);
    if (dest->share_record == nullptr || !is_single_threaded(src)) return;
    const record_lock lock(dest->share_record);
    if (sharer_list* const sharers = dest->share_record->sharers)
        std::replace(sharers->begin(), sharers->end(), src, dest);
}

// src has one owner. Afterwards it is an empty header of class unknown.
void move_value(ndArray_tag* dest, ndArray_tag* src) noexcept {
    if (dest->root_record != nullptr || src->root_record != nullptr) move_root_record(src, dest);
    empty_header(dest);
    dest->flags = src->flags & ~(flag_on_collection_list | flag_reusable | flag_empty_square_bracket);
    move_share_record(dest, src);
    move_words(dest, src);
    if ((src->flags & flag_on_collection_list) != 0) replace_on_gc_list(src, dest);
    src->flags = flag_inline_dims;
}

// The value of a header that goes on having it.
array_ptr copied_value(const ndArray_tag* src) {
    bring_data_up_to_date(src);
    return share_or_copy(src);
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndMoveArrayOntoHeader(ndArray_tag* dest, ndArray_tag* src) {
    if (dest == src) return;
    array_ptr value(src);
    framed([&] {
        if (header_owners(src) >= 2) value = copied_value(src);
        move_value(dest, value.get());
        return true;
    });
}

void ndMoveCopyOntoHeader(ndArray_tag* dest, ndArray_tag* src) {
    if (dest == src) return;
    framed([&] {
        const array_ptr value = copied_value(src);
        src->flags &= ~flag_reusable; // before dest's value ends, in which src may stand
        move_value(dest, value.get());
        return true;
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
