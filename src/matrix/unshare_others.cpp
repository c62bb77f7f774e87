// The array keeps its block, the others move. See unshare.hpp.
//
// What belongs to the block stays with it: a custom deleter, a split view, and the mark that the block is somebody else's.
#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/root_record.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sharing.hpp"
#include "matrix/unshare.hpp"
#include "matrix/unshare_seam.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace matrix::internal {
namespace {

constexpr const char* race_on_single_threaded_data = "Attempt to share single-threaded data across threads";
constexpr std::uint32_t flags_of_private_blocks = flag_data_private | flag_share_data_private;

std::size_t items_in_block(const ndArray_tag* array) noexcept {
    if ((array->flags & flag_sparse) != 0) return array->info_c;
    return is_container_class(array->class_id) ? slot_count(array) : element_count(array);
}

// The other sharer that uses most of the block: what fits it fits all. Null when the list doesn't name every sharer.
ndArray_tag* largest_other(const ndArray_tag* array) noexcept {
    ::share_record* const record = array->share_record;
    const record_lock lock(record);
    if (record->sharers == nullptr) return nullptr;
    ndArray_tag* largest = nullptr;
    std::uint32_t others = 0;
    for (ndArray_tag* const sharer : *record->sharers) {
        if (sharer == array) continue;
        ++others;
        if (largest == nullptr || items_in_block(sharer) > items_in_block(largest)) largest = sharer;
    }
    return others + 1 == record->count.load(std::memory_order_acquire) ? largest : nullptr;
}

// What the others need and what the array needs, made before anything is changed. The largest is the first that moves.
struct preparation {
    preparation(ndArray_tag* array, ndArray_tag* largest)
        : first(largest), data(copy_data(largest, largest)) {
        if (first->root_record != nullptr) {
            constexpr std::uint32_t array_and_first = 2;
            const std::uint32_t sharers = array->share_record->count.load(std::memory_order_acquire);
            ring.reset(prepare_moved_ring(first, sharers > array_and_first));
        }
        const ::share_record* const old = array->share_record;
        if (old->deleter == nullptr && old->scData == nullptr) return;
        own_record = make_record_for(array);
    }

    ndArray_tag* first;
    data_copy data;
    std::unique_ptr<RootRecord, moved_ring_deleter> ring;
    share_record_ptr own_record; ///< null when nothing goes with the block
};

void remove_from(sharer_list& list, const ndArray_tag* array) noexcept {
    list.erase(std::remove(list.begin(), list.end(), array), list.end());
}

// The first, and then each that follows, cuts its link to the array's ring; the array keeps its elements and what they hang from.
void move_roots(const sharer_list& others, preparation& made) noexcept {
    if (made.first->root_record == nullptr) return;
    leave_root_ring(made.first);
    begin_moved_ring(made.first, made.ring.release());
    for (ndArray_tag* const other : others) {
        if (other == made.first || other->root_record == nullptr) continue;
        leave_root_ring(other);
        join_root_ring(made.first, other);
    }
}

// The array has left the old record with its block; the others stay behind on it with the copy.
void part(ndArray_tag* array, ::share_record* old, preparation& made) noexcept {
    const record_lock lock(old);
    remove_from(*old->sharers, array);
    if (made.own_record != nullptr) {
        made.own_record->deleter = std::exchange(old->deleter, nullptr);
        made.own_record->scData = std::exchange(old->scData, nullptr);
        array->share_record = made.own_record.release();
    }
    const data_blocks blocks = made.data.take();
    for (ndArray_tag* const other : *old->sharers) {
        array->flags |= other->flags & flags_of_private_blocks;
        put_data(other, blocks);
    }
    move_roots(*old->sharers, made);
}

void empty(ndArray_tag* other) noexcept {
    other->share_record = nullptr;
    other->pdata = nullptr;
    other->flags &= ~(flag_shared_data | flag_cached_header | flag_bin_mask | flag_capacity_tracked |
                      flag_scalar_double | flags_of_private_blocks);
    if ((other->flags & flag_sparse) != 0) other->info_a = other->info_b = other->info_c = 0;
    (has_inline_dims(other) ? other->m_or_dims : dims_block(other)[0]) = 0;
}

} // namespace

bool unshare_others(ndArray_tag* array) {
    if (!has_shared_data(array)) {
        array->flags &= ~flag_shared_data;
        return true;
    }
    ndArray_tag* const largest = largest_other(array);
    if (largest == nullptr) return false;
    std::optional<preparation> made;
    try {
        made.emplace(array, largest);
    } catch (...) {
        return false;
    }
    reach_seam();
    ::share_record* const old = array->share_record;
    if (old->count.fetch_sub(1, std::memory_order_acq_rel) <= 1) {
        old->count.store(1, std::memory_order_release);
        end_for_sharing_fault(race_on_single_threaded_data, __PRETTY_FUNCTION__);
    }
    array->flags &= ~flag_shared_data;
    array->share_record = nullptr;
    part(array, old, *made);
    return true;
}

bool unshare_and_empty_others(ndArray_tag* array) {
    if (!has_shared_data(array)) {
        array->flags &= ~flag_shared_data;
        return true;
    }
    if (largest_other(array) == nullptr) return false;
    reach_seam();
    ::share_record* const record = array->share_record;
    if (record->count.exchange(1, std::memory_order_acq_rel) <= 1) {
        end_for_sharing_fault(race_on_single_threaded_data, __PRETTY_FUNCTION__);
    }
    {
        const record_lock lock(record);
        for (ndArray_tag* const other : *record->sharers) {
            if (other == array) continue;
            array->flags |= other->flags & flags_of_private_blocks;
            empty(other);
        }
        record->sharers->clear();
        if (is_single_threaded(array)) record->sharers->push_back(array);
    }
    array->flags &= ~flag_shared_data;
    if (array->root_record != nullptr) leave_root_ring(array);
    if (record->deleter == nullptr && record->scData == nullptr) free_share_record(array);
    return true;
}

} // namespace matrix::internal
