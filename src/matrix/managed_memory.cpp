// The managed allocation family: three tiers over one heap.
//
//   ndMalloc ...         on the current alloc list; out of memory raises in mode 1, else gives null
//   ndMallocEx ...       off the list; null
//   ndMallocExCheck ...  off the list; raises in mode 1, else gives null
#include "matrix/alloc_list.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/library_context.hpp"

#include <nd/errors.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>

#include <foundation/core/mem/aligned_heap.hpp>

#include <limits>
#include <new>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

const foundation::core::mem::aligned_heap& heap() noexcept {
    return foundation::core::mem::aligned_heap_instance();
}

// The short ways onto the list and off it: false when there is more to do, and nothing is done then.
[[gnu::always_inline]] inline bool list_at_once(void* block) noexcept {
    MatrixLibraryContext* const context = find_context();
    return context != nullptr && context->alloc_list.add_at_once(block);
}

[[gnu::always_inline]] inline bool unlist_at_once(void* block) noexcept {
    MatrixLibraryContext* const context = find_context();
    return context != nullptr && context->alloc_list.remove_at_once(block);
}

[[gnu::noinline, gnu::cold]] void* out_of_memory() {
    if (errors_leave_as_exceptions()) ndErrMsgId(TARVEL::legacy_two_part::nomem());
    return nullptr;
}

// A block that the list has no room for is given back: an untracked block would leak with its owner.
[[gnu::noinline]] void* listed_slowly(void* block) {
    try {
        add_to_alloc_list(block);
        return block;
    } catch (const std::bad_alloc&) {
        heap().free(block);
        return out_of_memory();
    }
}

[[gnu::always_inline]] inline void* listed(void* block) {
    return !the_module.alloc_lists || list_at_once(block) ? block : listed_slowly(block);
}

[[gnu::noinline]] void free_slowly(void* block) noexcept {
    removeFromAllocList(block);
    free_data(block);
}

bool list_has_room() noexcept {
    try {
        reserve_on_alloc_list();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool product_overflows(std::size_t n, std::size_t size) noexcept {
    return n > 1 && size > std::numeric_limits<std::size_t>::max() / n;
}

} // namespace

void* ndMallocEx(std::size_t size) { return size == 0 ? nullptr : heap().malloc(size); }

void* ndMallocExCheck(std::size_t size) {
    if (size == 0) return nullptr;
    void* const block = heap().malloc(size);
    return block != nullptr ? block : out_of_memory();
}

void* ndMalloc(std::size_t size) {
    void* const block = ndMallocExCheck(size);
    return block == nullptr ? nullptr : listed(block);
}

void* ndCallocEx(std::size_t n, std::size_t size) {
    if (n == 0 || size == 0 || product_overflows(n, size)) return nullptr;
    return heap().calloc(n, size);
}

void* ndCallocExCheck(std::size_t n, std::size_t size) {
    if (n == 0 || size == 0) return nullptr;
    void* const block = ndCallocEx(n, size);
    return block != nullptr ? block : out_of_memory();
}

void* ndCalloc(std::size_t n, std::size_t size) {
    void* const block = ndCallocExCheck(n, size);
    return block == nullptr ? nullptr : listed(block);
}

void* ndReallocEx(void* p, std::size_t size) {
    if (size == 0) {
        free_data(p);
        return nullptr;
    }
    return p == nullptr ? heap().malloc(size) : heap().realloc(p, size);
}

void* ndReallocExCheck(void* p, std::size_t size) {
    void* const block = ndReallocEx(p, size);
    return block != nullptr || size == 0 ? block : out_of_memory();
}

void* ndRealloc(void* p, std::size_t size) {
    // The list's room comes first: once the block has moved, nothing may fail any more.
    void* const block = size == 0 || list_has_room() ? ndReallocEx(p, size) : nullptr;
    if (block == nullptr && size != 0 && errors_leave_as_exceptions()) return out_of_memory();
    if (block == p) return block;
    // Also after a failure that doesn't raise: the old block stays allocated and is its owner's affair from now on.
    if (p != nullptr) removeFromAllocList(p);
    if (block != nullptr) add_to_alloc_list(block);
    return block;
}

void ndFreeEx(void* p) { free_data(p); }

void ndFree(void* p) {
    if (p == nullptr) return;
    if (the_module.alloc_lists && !unlist_at_once(p)) return free_slowly(p);
    free_data(p);
}

} // namespace matrix::detail::noninlined::nd_array_api
