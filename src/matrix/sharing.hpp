// Sharing of data blocks: the share record, who joins it and who leaves it.
//
// A block belongs to the group of headers whose share_record is the same. The record exists on an unshared array too, when it
// carries a custom deleter or a split view. flag_shared_data is a hint that stays behind when the others have left; count is
// the truth and is read with acquire order wherever its answer licenses a write or a free.
//
// Threads: different threads may hold different headers of one record and leave it at any moment; an atomic subtraction
// decides who was last. Headers with flag_single_threaded_sharing stand on the record's list, so that one of them can reach
// the others; they are all used by one thread.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/shared_fingerprint.hpp"

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <atomic>

#include <memory>

namespace matrix::internal {

/// The array's record, made with count 1 if missing; a single-threaded array then stands on its list. Raises std::bad_alloc;
/// nothing has changed then.
::share_record* ensure_share_record(ndArray_tag* array);

/// Really shared: the hint is set and more than one header uses the block.
inline bool has_shared_data(const ndArray_tag* array) noexcept {
    return (array->flags & flag_shared_data) != 0 && array->is_data_shared_impl();
}

/// Data that may not be shared: private to this header alone.
inline bool has_unshareable_data(const ndArray_tag* array) noexcept {
    return (array->flags & (flag_data_private | flag_share_data_private)) == flag_data_private;
}

/// Makes copy a sharer of source's block: it joins source's record, which is made if missing. source stops being reusable.
/// Raises std::bad_alloc; nothing has changed then.
void share_data_to(ndArray_tag* source, ndArray_tag* copy);

/// The block is lent by another array, which goes on using it: a view has it.
bool has_borrowed_data(const ndArray_tag* array) noexcept;

/// Data that go into a copy as a block of its own unless the caller asks for a shared one: those that may not be shared, and
/// those of a view, whose sharer would have to end before the lender without knowing of it.
inline bool is_copied_unasked(const ndArray_tag* array) noexcept {
    return has_unshareable_data(array) || has_borrowed_data(array);
}

/// Prepares the array for a block of its own in place of the present one: a sharer leaves its group, which keeps the block with
/// its deleter and its split view; a view of the array's block alone ends. True: the block stays with others; false: it's the
/// array's still, or lent to it. Index vectors of a sparse array that others have are copied. with_record asks for a record, to
/// hold a deleter. Raises std::bad_alloc; nothing has changed then.
bool begin_own_data(ndArray_tag* array, bool with_record);

/// Leaves the record of an array whose data are shared. True: others go on with it, and the array has neither record nor
/// hint. False: another thread has left meanwhile and the array was the last: it keeps record and block.
bool leave_record(ndArray_tag* array) noexcept;

/// What makes sharing more than a matter of one header and one count.
inline constexpr std::uint32_t flags_of_long_sharing =
    flag_sparse | flags_data_not_owned | flag_on_collection_list | flag_single_threaded_sharing;

/// leave_record() for the end of a plain header with shared data, which then owns nothing. False when it was the last or there
/// is more to do: nothing has changed then.
[[gnu::always_inline]] inline bool leave_record_at_once(ndArray_tag* array) noexcept {
    constexpr std::uint32_t tested = flags_of_long_sharing | flag_inline_dims;
    if ((array->flags & tested) != flag_inline_dims || !has_plain_elements(array->class_id) ||
        array->dims32 != nullptr || array->root_record != nullptr)
        return false;
    check_shared_block(array);
    std::atomic<std::uint32_t>& count = array->share_record->count;
    if (count.fetch_sub(1, std::memory_order_acq_rel) > 1) [[likely]]
        return true;
    count.store(1, std::memory_order_release);
    return false;
}

/// Asked when the last owner of a header goes: may this header free its block? When others still use it or only lent it,
/// the answer is no and the header holds no data any more.
bool release_data_for_destroy(ndArray_tag* array) noexcept;

/// Frees the record of a header that is its only user, with its list and its split view.
void free_share_record(ndArray_tag* array) noexcept;

/// A record that no array has yet, owned by whoever holds the pointer. Raises std::bad_alloc.
::share_record* make_share_record();
void delete_share_record(::share_record* record) noexcept;

struct share_record_deleter {
    void operator()(::share_record* record) const noexcept { delete_share_record(record); }
};
using share_record_ptr = std::unique_ptr<::share_record, share_record_deleter>;

/// The same for an array that is going to have it: a single-threaded one stands on its list already.
share_record_ptr make_record_for(ndArray_tag* array);

/// The deleter of a block that is borrowed: it does nothing. Whoever carries it doesn't own the elements either.
void keep_borrowed_block(void* block) noexcept;

/// Ends the process: a rule of sharing was broken that nothing can mend.
[[noreturn]] void end_for_sharing_fault(const char* message, const char* function);

} // namespace matrix::internal
