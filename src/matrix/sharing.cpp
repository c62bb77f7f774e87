// Joining and leaving share records.
#include "matrix/sharing.hpp"

#include "matrix/header_allocator.hpp"

#include <new>

namespace matrix::internal {
namespace {

// Leaves the record. True: others go on with it. False: this header was the last, and the count rests at 1 again.
bool leave_record(ndArray_tag* array) noexcept {
    // acq_rel: what this header wrote to the block happens before the last sharer's free, which acquires here or below.
    if (array->share_record->count.fetch_sub(1, std::memory_order_acq_rel) > 1) {
        array->share_record = nullptr;
        array->flags &= ~flag_shared_data;
        return true;
    }
    array->share_record->count.store(1, std::memory_order_release);
    return false;
}

} // namespace

::share_record* ensure_share_record(ndArray_tag* array) {
    if (array->share_record == nullptr) {
        array->share_record = new (allocate_header_block(sizeof(::share_record)))::share_record;
    }
    return array->share_record;
}

void share_data_to(ndArray_tag* source, ndArray_tag* copy) {
    ::share_record* record = ensure_share_record(source);
    record->count.fetch_add(1, std::memory_order_relaxed);
    source->flags = (source->flags & ~flag_reusable) | flag_shared_data;
    copy->share_record = record;
    copy->flags = (copy->flags & ~(flag_reusable | flag_single_threaded_sharing)) |
                  (source->flags & flag_single_threaded_sharing) | flag_shared_data;
}

void begin_own_data(ndArray_tag* array, bool with_record) {
    if (!has_shared_data(array)) {
        if (with_record) ensure_share_record(array);
        return;
    }
    ::share_record* const own =
        with_record ? new (allocate_header_block(sizeof(::share_record)))::share_record : nullptr;
    if (!release_data_for_destroy(array)) {
        array->share_record = own;
    } else if (own != nullptr) { // the others have left meanwhile: the record is this array's alone
        own->~share_record();
        free_header_block(own);
    }
}

bool release_data_for_destroy(ndArray_tag* array) noexcept {
    if (!has_shared_data(array)) return true;
    if (!leave_record(array)) return true;
    array->pdata = nullptr;
    array->flags &= ~(flag_shared_data | flag_capacity_tracked);
    if ((array->flags & flag_sparse) != 0) array->info_a = array->info_b = 0;
    return false;
}

void free_share_record(ndArray_tag* array) noexcept {
    if (array->share_record == nullptr) return;
    array->share_record->~share_record();
    free_header_block(array->share_record);
    array->share_record = nullptr;
}

} // namespace matrix::internal

bool ndArray_tag::is_data_shared_impl() const noexcept {
    return share_record->count.load(std::memory_order_acquire) > 1;
}

bool ndArray_tag::is_data_shared_only_with_impl(const ndArray_tag* other) const noexcept {
    return share_record == other->share_record && share_record->count.load(std::memory_order_acquire) == 2;
}

bool ndArray_tag::is_data_shared_with_impl(const ndArray_tag* other) const noexcept {
    return share_record == other->share_record && is_data_shared_impl();
}
