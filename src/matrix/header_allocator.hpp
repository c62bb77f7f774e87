// The allocator of array headers and share records: three process-wide slots that come from one family, either oneTBB's
// scalable allocator or the C run-time heap (memory-manager feature 7 chooses). Data blocks never come from here.
//
// The slots are chosen at the first use, which may lie in another translation unit's static constructor.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

struct header_slots {
    void* (*malloc)(std::size_t size);
    void* (*calloc)(std::size_t n, std::size_t size);
    void (*free)(void* block);
};

/// The slots in force. Only tests write to them.
extern constinit header_slots slots_in_force;

/// A block of size bytes. Raises std::bad_alloc.
void* allocate_header_block(std::size_t size);

/// Gives a block of allocate_header_block back.
void free_header_block(void* block) noexcept;

} // namespace matrix::internal
