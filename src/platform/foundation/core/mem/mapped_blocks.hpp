// Large blocks of the aligned heap, straight from the system: on huge pages, and kept for reuse when they are freed.
//
// A block begins at a huge-page boundary; the small page before it belongs to the heap. What is freed stays mapped, the newest
// up to an eighth of the memory that the process may have, and the system may take its pages back whenever it needs them. A
// large array that is made over and over so costs neither page faults nor zeroing by the system. When memory is short, what is
// kept goes before anything fails.
//
// Where the system or the build (sanitizers watch the C heap; the torture build moves every block) doesn't allow it,
// mapped_blocks_are_available is false and nothing here is called. Any thread may call any function; they share one lock.
#pragma once

#include <cstddef>

namespace foundation::core::mem {

#if defined(__linux__) && defined(__x86_64__) && !defined(ND_SANITIZED) && !defined(ND_TORTURE)
inline constexpr bool mapped_blocks_are_available = true;
#else
inline constexpr bool mapped_blocks_are_available = false;
#endif

/// Blocks of fewer bytes are left to the C heap.
inline constexpr std::size_t smallest_mapped_block = std::size_t{4} << 20;

/// Distance from the mapping to the block: the heap's own page (4096 bytes on this processor), whose end is for the caller's prefix.
inline constexpr std::size_t mapped_block_offset = 4096;

/// A block of at least size bytes, undefined or all zero. Fresh pages aren't touched. Null when the system has none.
void* map_block(std::size_t size, bool zeroed) noexcept;

/// Gives a block of map_block(size) back.
void unmap_block(void* block, std::size_t size) noexcept;

/// Moves the pages of a block to a block of new_size bytes, without copying what they hold. Null when the system refuses, and
/// block is then unchanged. The page before the block isn't moved.
void* remap_block(void* block, std::size_t size, std::size_t new_size) noexcept;

/// Gives everything that is kept back to the system.
void release_kept_blocks() noexcept;

} // namespace foundation::core::mem
