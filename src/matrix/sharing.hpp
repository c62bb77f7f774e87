// Sharing of data blocks: the share record, who joins it and who leaves it.
//
// A block belongs to the group of headers whose share_record is the same. The record exists on an unshared array too, when it
// carries a custom deleter. flag_shared_data is a hint that stays behind when the others have left; count is the truth and is
// read with acquire order wherever its answer licenses a write or a free.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix::internal {

/// The array's record, made with count 1 if missing. Raises std::bad_alloc.
::share_record* ensure_share_record(ndArray_tag* array);

/// Really shared: the hint is set and more than one header uses the block.
inline bool has_shared_data(const ndArray_tag* array) noexcept {
    return (array->flags & flag_shared_data) != 0 && array->is_data_shared_impl();
}

/// Makes copy a sharer of source's block: it joins source's record, which is made if missing. source stops being reusable.
/// Raises std::bad_alloc; nothing has changed then.
void share_data_to(ndArray_tag* source, ndArray_tag* copy);

/// Prepares the array for a block of its own in place of the present one: a sharer leaves its group, which keeps the block.
/// with_record asks for a record, to hold a deleter. Raises std::bad_alloc; nothing has changed then.
void begin_own_data(ndArray_tag* array, bool with_record);

/// Asked when the last owner of a header goes: may this header free its block? When others still use it, the header has
/// left the group and holds no data.
bool release_data_for_destroy(ndArray_tag* array) noexcept;

/// Frees the record of a header that is its only user.
void free_share_record(ndArray_tag* array) noexcept;

} // namespace matrix::internal
