// The aligned heap over the heap of the C run time.
//
//   raw                     block (multiple of 64)                     raw + size + 64
//    |  ...  | size | offset |  size bytes of the caller  |  slack  ...  |
//
// A block stands at the first 64-byte boundary above its raw block. The distance, 16 to 64, leaves room for the prefix,
// since the C heap aligns to 16; what it leaves of the 64 extra bytes lies behind the block.
//
// Large blocks don't come from the C heap but from mapped_blocks.hpp: their prefix stands at the end of the page before
// them, with the offset that no raw block has.
#include "heap_guard.hpp"
#include "mapped_blocks.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace foundation::core::mem {

namespace {

struct block_prefix {
    std::size_t size;
    std::size_t offset; // from the raw block
};
static_assert(sizeof(block_prefix) <= alignof(std::max_align_t), "the prefix fits the smallest distance");
static_assert(alignof(std::max_align_t) <= heap_alignment && heap_alignment <= heap_overhead);

constexpr std::size_t largest_size = static_cast<std::size_t>(PTRDIFF_MAX) - heap_overhead;

block_prefix& prefix_of(void* block) noexcept { return static_cast<block_prefix*>(block)[-1]; }

char* raw_of(void* block, const block_prefix& prefix) noexcept {
    return static_cast<char*>(block) - prefix.offset;
}

std::size_t offset_in(const void* raw) noexcept {
    return heap_alignment - reinterpret_cast<std::uintptr_t>(raw) % heap_alignment;
}

bool is_too_large(std::size_t size) noexcept {
    if (size <= largest_size) return false;
    errno = ENOMEM;
    return true;
}

// The prefix of a block that the heap gave out.
block_prefix prefix_in(void* block) noexcept {
    unguard(static_cast<char*>(block) - sizeof(block_prefix), sizeof(block_prefix));
    const block_prefix prefix = prefix_of(block);
    guard(static_cast<char*>(block) - sizeof(block_prefix), sizeof(block_prefix));
    return prefix;
}

// Opens a block that the heap gave out, for the heap's own use, and tells its prefix.
block_prefix open_block(void* block) noexcept {
    const block_prefix prefix = prefix_in(block);
    unguard(raw_of(block, prefix), prefix.size + heap_overhead);
    return prefix;
}

void* close_block(void* block) noexcept {
    const block_prefix prefix = prefix_of(block);
    guard(static_cast<char*>(block) + prefix.size, heap_overhead - prefix.offset);
    guard(raw_of(block, prefix), prefix.offset);
    return block;
}

// Makes a block of a raw one.
void* make_block(void* raw, std::size_t size) noexcept {
    if (raw == nullptr) return nullptr;
    const std::size_t offset = offset_in(raw);
    void* const block = static_cast<char*>(raw) + offset;
    prefix_of(block) = {size, offset};
    return close_block(block);
}

constexpr bool is_mapped_size(std::size_t size) noexcept {
    return mapped_blocks_are_available && size >= smallest_mapped_block;
}

bool is_mapped(const block_prefix& prefix) noexcept {
    return mapped_blocks_are_available && prefix.offset == mapped_block_offset;
}

// A large block, or null with the errno of a heap that has no memory.
void* make_mapped_block(void* block, std::size_t size) noexcept {
    if (block == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    prefix_of(block) = {size, mapped_block_offset};
    return block;
}

// The C heap, which may need what is kept of freed large blocks.
template <class Allocate>
void* raw_block(Allocate allocate) noexcept {
    void* raw = allocate();
    if constexpr (mapped_blocks_are_available) {
        if (raw == nullptr) [[unlikely]] {
            release_kept_blocks();
            raw = allocate();
        }
    }
    return raw;
}

void* heap_malloc(std::size_t size) {
    if (is_too_large(size)) return nullptr;
    if (is_mapped_size(size)) return make_mapped_block(map_block(size, false), size);
    return make_block(raw_block([&] { return std::malloc(size + heap_overhead); }), size);
}

void* heap_calloc(std::size_t n, std::size_t size) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(n, size, &bytes)) bytes = SIZE_MAX;
    if (is_too_large(bytes)) return nullptr;
    if (is_mapped_size(bytes)) return make_mapped_block(map_block(bytes, true), bytes);
    return make_block(raw_block([&] { return std::calloc(1, bytes + heap_overhead); }), bytes);
}

void heap_free(void* block) {
    if (block == nullptr) return;
    const block_prefix prefix = open_block(block);
    if (is_mapped(prefix)) return unmap_block(block, prefix.size);
    std::free(raw_of(block, prefix));
}

#ifdef ND_TORTURE

// Every block moves and the old one is overwritten, so that a pointer kept over a realloc shows at once.
void* heap_realloc(void* block, std::size_t size) {
    if (block == nullptr) return heap_malloc(size);
    void* const fresh = heap_malloc(size);
    if (fresh == nullptr) return nullptr;
    const block_prefix old = open_block(block);
    std::memcpy(fresh, block, std::min(old.size, size));
    volatile char* const bytes =
        static_cast<volatile char*>(block); // a plain memset before free would be left out
    for (std::size_t i = 0; i < old.size; ++i) bytes[i] = static_cast<char>(0xDB);
    std::free(raw_of(block, old));
    return fresh;
}

#else

// From the C heap to a mapping or back, and where the system doesn't move pages: the bytes are copied.
void* move_block(void* block, std::size_t old_size, std::size_t size) noexcept {
    void* const fresh = heap_malloc(size);
    if (fresh == nullptr) return nullptr;
    std::memcpy(fresh, block, std::min(old_size, size));
    heap_free(block);
    return fresh;
}

void* heap_realloc(void* block, std::size_t size) {
    if (block == nullptr) return heap_malloc(size);
    if (is_too_large(size)) return nullptr;
    const block_prefix old = prefix_in(block);
    if (is_mapped(old) != is_mapped_size(size)) return move_block(block, old.size, size);
    if (is_mapped(old)) {
        void* const moved = remap_block(block, old.size, size);
        return moved != nullptr ? make_mapped_block(moved, size) : move_block(block, old.size, size);
    }
    open_block(block);
    void* const raw = raw_block([&] { return std::realloc(raw_of(block, old), size + heap_overhead); });
    if (raw == nullptr) {
        close_block(block);
        return nullptr;
    }
    const std::size_t offset = offset_in(raw);
    if (offset != old.offset) {
        char* const bytes = static_cast<char*>(raw);
        std::memmove(bytes + offset, bytes + old.offset, std::min(old.size, size));
    }
    return make_block(raw, size);
}

#endif

} // namespace

constinit aligned_heap detail::heap_slots{heap_malloc, heap_calloc, heap_realloc, heap_free};

} // namespace foundation::core::mem
