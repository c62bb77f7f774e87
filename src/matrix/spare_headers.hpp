// Headers that the calling thread keeps for its next array without a pair: a copy that shares another's block, an array too
// large for the bins, a container.
//
// A short list beside the bins of the array cache, owned by the thread, with the cache's rules: nothing is taken or kept
// while the cache is off, cache::clear() and the thread's exit give every header back to the header allocator. A spare header
// owns nothing; it is poisoned when it goes back to the header allocator.
#pragma once

#include "matrix/array_cache.hpp"

namespace matrix::internal {

struct SpareHeaders {
    ndArray_tag* head; // linked through next
    std::uint32_t count;
    std::uint32_t max_count; // 0 until the thread's cache is built and from its end on
};

/// As many as an ordinary cell needs: 128 KiB a thread.
inline constexpr std::uint32_t most_spare_headers = 1024;

[[gnu::tls_model("initial-exec")]] extern constinit thread_local SpareHeaders the_spare_headers;

namespace detail {

/// Null when there is none.
[[gnu::always_inline]] inline ndArray_tag* unlink_spare_header() noexcept {
    ndArray_tag* const header = the_spare_headers.head;
    if (header == nullptr) [[unlikely]]
        return nullptr;
    foundation::core::mem::unguard(header, sizeof(ndArray_tag));
    the_spare_headers.head = header->next;
    --the_spare_headers.count;
    return header;
}

[[gnu::always_inline]] inline void link_spare_header(ndArray_tag* header) noexcept {
    header->next = the_spare_headers.head;
    the_spare_headers.head = header;
    ++the_spare_headers.count;
    foundation::core::mem::guard(header, sizeof(ndArray_tag));
}

} // namespace detail

/// Room for a header, of undefined content; null when the thread has none to spare.
[[gnu::always_inline]] inline ndArray_tag* take_spare_header() noexcept {
    return cache_enabled ? detail::unlink_spare_header() : nullptr;
}

/// The same for a header that the thread has no room for, or whose cache isn't built yet.
void give_header_back_slowly(ndArray_tag* header) noexcept;

/// Ends a header that owns nothing any more: it becomes spare, or goes back to the header allocator, poisoned.
[[gnu::always_inline]] inline void give_header_back(ndArray_tag* header) noexcept {
    if (!cache_enabled || the_spare_headers.count >= the_spare_headers.max_count) [[unlikely]]
        return give_header_back_slowly(header);
    detail::link_spare_header(header);
}

} // namespace matrix::internal
