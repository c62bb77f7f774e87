// The slots of a watch over the aligned heap.
#include "matrix/heap_watch.hpp"

#include "platform/test_hooks.hpp"

#include <algorithm>

namespace test {
namespace {

constinit heap_watch* watching = nullptr;

} // namespace

struct heap_watch_slots {
    using slot = heap_request::slot;

    static void* malloc(std::size_t size) {
        return watching->refuses(slot::malloc, 1, size) ? nullptr : watching->before_.malloc(size);
    }
    static void* calloc(std::size_t n, std::size_t size) {
        return watching->refuses(slot::calloc, n, size) ? nullptr : watching->before_.calloc(n, size);
    }
    static void* realloc(void* block, std::size_t size) {
        return watching->refuses(slot::realloc, 1, size) ? nullptr : watching->before_.realloc(block, size);
    }
    static void free(void* block) {
        if (block != nullptr) watching->freed_.push_back(block);
        watching->before_.free(block);
    }
};

heap_watch::heap_watch(std::size_t ceiling) : ceiling_(ceiling) {
    const foundation::core::mem::aligned_heap& now = foundation::core::mem::aligned_heap_instance();
    watching = this;
    before_ = foundation::test_hooks::swap_aligned_heap({heap_watch_slots::malloc, heap_watch_slots::calloc,
                                                         heap_watch_slots::realloc, heap_watch_slots::free,
                                                         now.overhead_bytes});
}

heap_watch::~heap_watch() {
    foundation::test_hooks::swap_aligned_heap(before_);
    watching = nullptr;
}

bool heap_watch::refuses(heap_request::slot through, std::size_t count, std::size_t size) {
    requests_.push_back({through, count, size});
    if (size <= ceiling_) return false;
    ++refused_;
    return true;
}

void heap_watch::forget() noexcept {
    requests_.clear();
    freed_.clear();
    refused_ = 0;
}

std::size_t heap_watch::times_freed(const void* block) const noexcept {
    return static_cast<std::size_t>(std::count(freed_.begin(), freed_.end(), block));
}

} // namespace test
