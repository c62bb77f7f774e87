// Joining and leaving share records.
#include "matrix/sharing.hpp"

#include "matrix/data_copy.hpp"
#include "matrix/header_allocator.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/share_record.hpp"
#include "matrix/unshare.hpp"

#include <foundation/core/diag/diag.hpp>

#include <algorithm>
#include <new>
#include <optional>

namespace matrix::internal {
namespace {

bool is_listed(::share_record* record, const ndArray_tag* array) noexcept {
    const record_lock lock(record);
    if (record->sharers == nullptr) return false;
    return std::find(record->sharers->begin(), record->sharers->end(), array) != record->sharers->end();
}

// Enters a header that isn't on the list. Raises std::bad_alloc; the list is then unchanged.
void add_sharer(::share_record* record, ndArray_tag* array) {
    const record_lock lock(record);
    if (record->sharers == nullptr) record->sharers = new sharer_list;
    record->sharers->push_back(array);
}

// Takes every entry of the header off and says how many there were. The room stays.
std::size_t remove_sharer(::share_record* record, const ndArray_tag* array) noexcept {
    const record_lock lock(record);
    if (record->sharers == nullptr) return 0;
    sharer_list& list = *record->sharers;
    const auto end = std::remove(list.begin(), list.end(), array);
    const auto removed = static_cast<std::size_t>(list.end() - end);
    list.erase(end, list.end());
    return removed;
}

// A header whose record can't be cut from its ring takes a block of its own to its end. Without memory it leaves as any other.
bool took_own_block(ndArray_tag* array) noexcept {
    try {
        return unshare(array);
    } catch (...) {
        return false;
    }
}

void drop_data(ndArray_tag* array) noexcept {
    array->pdata = nullptr;
    array->flags &= ~(flag_shared_data | flag_capacity_tracked);
    if ((array->flags & flag_sparse) != 0) array->info_a = array->info_b = 0;
}

} // namespace

::share_record* make_share_record() {
    return new (allocate_header_block(sizeof(::share_record)))::share_record;
}

void delete_share_record(::share_record* record) noexcept {
    forget_fingerprint(record);
    delete record->sharers;
    delete_scaffolding(record->scData);
    record->~share_record();
    free_header_block(record);
}

share_record_ptr make_record_for(ndArray_tag* array) {
    share_record_ptr record(make_share_record());
    if (is_single_threaded(array)) add_sharer(record.get(), array);
    return record;
}

::share_record* ensure_share_record(ndArray_tag* array) {
    if (array->share_record == nullptr) array->share_record = make_record_for(array).release();
    return array->share_record;
}

namespace {

void list_copy(ndArray_tag* source, ndArray_tag* copy, bool record_is_fresh) {
    try {
        add_sharer(source->share_record, copy);
    } catch (...) {
        if (record_is_fresh) free_share_record(source);
        throw;
    }
}

} // namespace

void share_data_to(ndArray_tag* source, ndArray_tag* copy) {
    const bool fresh = source->share_record == nullptr;
    ::share_record* const record = ensure_share_record(source);
    if (is_single_threaded(source)) list_copy(source, copy, fresh);
    note_joining(source);
    record->count.fetch_add(1, std::memory_order_relaxed);
    source->flags = (source->flags & ~flag_reusable) | flag_shared_data;
    copy->share_record = record;
    copy->flags = (copy->flags & ~(flag_reusable | flag_single_threaded_sharing)) |
                  (source->flags & flag_single_threaded_sharing) | flag_shared_data;
}

bool leave_record(ndArray_tag* array) noexcept {
    check_shared_block(array);
    ::share_record* const record = array->share_record;
    // Off the list first: once the count has fallen the record may be somebody else's to free.
    const std::size_t entries = is_single_threaded(array) ? remove_sharer(record, array) : 0;
    // acq_rel: what this header wrote to the block happens before the last sharer's free, which acquires here or in its test.
    if (record->count.fetch_sub(1, std::memory_order_acq_rel) > 1) {
        array->share_record = nullptr;
        array->flags &= ~flag_shared_data;
        if (array->root_record != nullptr) leave_root_ring(array);
        return true;
    }
    record->count.store(1, std::memory_order_release);
    if (entries != 0) add_sharer(record, array); // into the room that it left
    return false;
}

namespace {

// Leaves a shared record for one of the array's own, or for none. False: the others have left meanwhile.
bool leave_for_own_record(ndArray_tag* array, bool with_record) {
    share_record_ptr own = with_record ? make_record_for(array) : nullptr;
    if (!leave_record(array)) return false;
    array->share_record = own.release();
    return true;
}

} // namespace

bool begin_own_data(ndArray_tag* array, bool with_record) {
    const bool is_shared = has_shared_data(array);
    std::optional<data_copy> indices;
    if ((array->flags & flag_sparse) != 0 && (is_shared || has_borrowed_data(array)))
        indices.emplace(copy_index_vectors(array));
    const bool left = is_shared && leave_for_own_record(array, with_record);
    if (!left) {
        if (with_record) ensure_share_record(array);
        end_view(array);
    }
    if (indices && (left || has_borrowed_data(array))) {
        const data_blocks blocks = indices->take();
        array->info_a = blocks.rows;
        array->info_b = blocks.starts;
    }
    return left;
}

bool release_data_for_destroy(ndArray_tag* array) noexcept {
    if (has_shared_data(array)) {
        if (array->root_record != nullptr && !can_leave_root_ring(array) && took_own_block(array))
            return true;
        if (leave_record(array)) {
            drop_data(array);
            return false;
        }
    }
    // The last header over a borrowed block: block and elements belong to whoever lent them.
    if (!has_borrowed_data(array)) return true;
    drop_data(array);
    return false;
}

void free_share_record(ndArray_tag* array) noexcept {
    if (array->share_record == nullptr) return;
    delete_share_record(array->share_record);
    array->share_record = nullptr;
}

void keep_borrowed_block(void* /*block*/) noexcept {}

bool has_borrowed_data(const ndArray_tag* array) noexcept {
    return array->hasSameCustomDeleter(keep_borrowed_block);
}

void end_for_sharing_fault(const char* message, const char* function) {
    foundation::core::diag::terminate(message, "matrix/sharing", __LINE__, function);
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

void ndArray_tag::set_data_sharing_single_threaded(bool flag) {
    using namespace matrix::internal;
    if (share_record != nullptr && !flag) remove_sharer(share_record, this);
    if (share_record != nullptr && flag && !is_listed(share_record, this)) add_sharer(share_record, this);
    flags =
        flag ? flags | matrix::flag_single_threaded_sharing : flags & ~matrix::flag_single_threaded_sharing;
}
