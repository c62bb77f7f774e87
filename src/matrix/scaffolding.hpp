// The separate view of a numeric data block: real and imaginary parts as blocks of their own, beside the interleaved one.
//
// The view hangs from the share record, so all headers over the block have the same. An array is in one of three states:
//   interleaved              no view; pdata counts
//   split                    the separate blocks count, pdata is stale
//   interleaved, view kept   pdata counts; the separate blocks wait for the next split
// Whoever copies or reads a block for good brings it up to date first.
#pragma once

#include <nd/array.hpp>

#include <cstdint>

/// Both blocks come from the aligned heap, the record itself from the general heap.
struct scaffolding {
    void* real_data = nullptr; ///< real parts, or all of a real array
    void* imag_data =
        nullptr; ///< imaginary parts; null for a real array; scaffolding_without_data: there is no block
    std::uint64_t first_size =
        0; ///< bytes; split: of the interleaved block at the split. After that: of real_data
    std::uint64_t second_size = 0; ///< bytes; split: 0. After that: of imag_data
    bool is_split = false;
    // What follows is told by the header that split the block, which may be another one than that which reads the view.
    std::int32_t class_id = 0; ///< of the parts
    std::uint64_t block_size =
        0; ///< split: bytes of the block; 0 when others had it too, to whom it may be longer than first_size
};

namespace matrix::internal {

/// Stands in imag_data for a complex array that had no data when it was split.
inline void* scaffolding_without_data() noexcept { return reinterpret_cast<void*>(~std::uintptr_t{0}); }

/// Frees a view with its blocks; null is ignored.
void delete_scaffolding(scaffolding* view) noexcept;

/// Forgets the view of a block that this header alone uses and is about to lose.
void end_view(ndArray_tag* array) noexcept;

/// To be told before the dimensions of an array change that has a share record: they are what tells how long a block is that
/// another header has split.
void note_block_size(ndArray_tag* array) noexcept;

/// Writes the separate parts of a split array into pdata; the array stays split. This array only, not what stands in its slots.
/// Raises std::bad_alloc; nothing has changed then.
void update_interleaved(ndArray_tag* array);

/// The array's view; null when there is none.
inline scaffolding* view_of(const ndArray_tag* array) {
    return array->share_record == nullptr ? nullptr : array->get_scData();
}

/// The same for an array that is only going to be read: its value doesn't change.
inline void bring_data_up_to_date(const ndArray_tag* array) {
    const scaffolding* const view = view_of(array);
    if (view != nullptr && view->is_split) update_interleaved(const_cast<ndArray_tag*>(array));
}

} // namespace matrix::internal
