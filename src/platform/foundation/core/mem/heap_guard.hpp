// Marks what lies around a block of the aligned heap as out of bounds for AddressSanitizer, which knows only the raw
// blocks. Without AddressSanitizer nothing happens.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#    define ND_HEAP_GUARD 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        define ND_HEAP_GUARD 1
#    endif
#endif

#ifdef ND_HEAP_GUARD
#    include <sanitizer/asan_interface.h>
#endif

namespace foundation::core::mem {

inline void guard([[maybe_unused]] const void* begin, [[maybe_unused]] std::size_t size) noexcept {
#ifdef ND_HEAP_GUARD
    __asan_poison_memory_region(begin, size);
#endif
}

inline void unguard([[maybe_unused]] const void* begin, [[maybe_unused]] std::size_t size) noexcept {
#ifdef ND_HEAP_GUARD
    __asan_unpoison_memory_region(begin, size);
#endif
}

} // namespace foundation::core::mem
