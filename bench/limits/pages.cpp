// Large blocks straight from the system, on huge pages where it grants them.
#include "array_header.hpp"

#include <cstdlib>
#include <sys/mman.h>

namespace {

constexpr std::size_t huge_page = std::size_t{2} << 20;

constexpr std::size_t whole_pages(std::size_t bytes) noexcept {
    return (bytes + huge_page - 1) & ~(huge_page - 1);
}

// One list: the rows that use it have one size each, and a head of another size is left where it is.
[[gnu::tls_model("initial-exec")]] constinit thread_local limit_array* kept = nullptr;

[[gnu::noinline, gnu::cold]] limit_array* make_kept(std::size_t bytes) noexcept {
    auto* const array = static_cast<limit_array*>(std::malloc(sizeof(limit_array)));
    if (array == nullptr) return nullptr;
    array->data = limit_map(bytes);
    if (array->data != nullptr) return array;
    std::free(array);
    return nullptr;
}

} // namespace

// The mapping is made one huge page longer and trimmed to the boundary.
void* limit_map(size_t bytes) {
    const std::size_t size = whole_pages(bytes);
    void* const raw =
        mmap(nullptr, size + huge_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    const std::size_t before = whole_pages(address) - address;
    char* const block = static_cast<char*>(raw) + before;
    if (before != 0) munmap(raw, before);
    if (before != huge_page) munmap(block + size, huge_page - before);
    madvise(block, size, MADV_HUGEPAGE); // a system that refuses gives small pages
    return block;
}

void limit_unmap(void* block, size_t bytes) { munmap(block, whole_pages(bytes)); }

limit_array* limit_create_kept(size_t m, size_t n) {
    limit_array* array = kept;
    if (array != nullptr && array->m == m && array->n == n) [[likely]] {
        kept = array->next;
    } else {
        array = make_kept(m * n * sizeof(double));
        if (array == nullptr) return nullptr;
    }
    limits::start(array, m, n, 0);
    return array;
}

void limit_destroy_kept(limit_array* array) {
    array->next = kept;
    kept = array;
}
