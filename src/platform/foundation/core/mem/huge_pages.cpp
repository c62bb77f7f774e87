// Advice on huge pages for Linux with its usual C library; elsewhere nothing is done.
//
// The range is the whole of the mapping and not only the huge pages within: advice on a part splits the mapping in the
// kernel's eyes, and a split mapping can't be resized by mremap, so the C heap would copy the block on realloc. For a
// page-mapped block the usable size ends exactly where the mapping ends, and the first page is the block's own. For
// a block within a heap segment the range takes in at most a neighbour's share of two pages, which is harmless.
#include "huge_pages.hpp"

#if defined(__linux__) && defined(__GLIBC__)

#    include <cerrno>
#    include <cstdint>
#    include <malloc.h>
#    include <sys/mman.h>
#    include <unistd.h>

namespace foundation::core::mem {

void advise_huge_pages(void* raw, std::size_t size) noexcept {
    if (size < huge_page_threshold) return;
    static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t from_page = reinterpret_cast<std::uintptr_t>(raw) % page;
    const std::size_t bytes = from_page + malloc_usable_size(raw);
    const int saved = errno;
    madvise(static_cast<char*>(raw) - from_page, (bytes + page - 1) / page * page, MADV_HUGEPAGE);
    errno = saved;
}

} // namespace foundation::core::mem

#else

namespace foundation::core::mem {

void advise_huge_pages(void*, std::size_t) noexcept {}

} // namespace foundation::core::mem

#endif
