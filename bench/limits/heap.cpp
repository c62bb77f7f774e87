// The heap of data blocks, alone and together with a header. The heap is libnd's own code, its objects linked into this
// library: the comparison is about what libnd adds to it.
#include "array_header.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <oneapi/tbb/scalable_allocator.h>

#include <cstring>

namespace {

const foundation::core::mem::aligned_heap& heap() noexcept {
    return foundation::core::mem::aligned_heap_instance();
}

} // namespace

void* limit_heap_calloc(size_t bytes) { return heap().calloc(1, bytes); }

void* limit_heap_malloc(size_t bytes) { return heap().malloc(bytes); }

void* limit_heap_copy(const void* source, size_t bytes) {
    void* const block = heap().malloc(bytes);
    return block == nullptr ? nullptr : std::memcpy(block, source, bytes);
}

void limit_heap_free(void* block) { heap().free(block); }

limit_array* limit_allocate_two(size_t m, size_t n) {
    auto* const array = static_cast<limit_array*>(scalable_malloc(sizeof(limit_array)));
    if (array == nullptr) return nullptr;
    array->data = heap().calloc(1, m * n * sizeof(double));
    if (array->data != nullptr) return array;
    scalable_free(array);
    return nullptr;
}

void limit_release_two(limit_array* array) {
    heap().free(array->data);
    scalable_free(array);
}
