// The heap of data blocks: a table of four functions whose blocks begin at a multiple of 64 bytes.
//
// Contract of the four functions:
//   - a block belongs to whoever got it and goes back through free() or realloc() of the same table;
//   - failure is a null pointer, also when a size overflows; after a failed realloc the old block still stands;
//   - size 0 gives a minimal block that can be freed; free(nullptr) does nothing; realloc(nullptr, n) is malloc(n);
//   - calloc of a large block touches no page, realloc of a large block moves its pages and copies no bytes.
//
// The table is constant-initialised, so static constructors and thread exits may use it.
#pragma once

#include <cstddef>

namespace foundation::core::mem {

inline constexpr std::size_t heap_alignment = 64;
inline constexpr std::size_t heap_overhead = 64;

struct aligned_heap {
    void* (*malloc)(std::size_t size);
    void* (*calloc)(std::size_t n, std::size_t size);
    void* (*realloc)(void* p, std::size_t size);
    void (*free)(void* p);
    std::size_t overhead_bytes = heap_overhead;

    // What a block costs beyond the bytes asked for.
    std::size_t overhead() const noexcept { return overhead_bytes; }
};

namespace detail {
// Written by test hooks only. Hidden in the declaration, so that reading it is one relative load.
[[gnu::visibility("hidden")]] extern aligned_heap heap_slots;
} // namespace detail

inline const aligned_heap& aligned_heap_instance() noexcept { return detail::heap_slots; }

} // namespace foundation::core::mem
