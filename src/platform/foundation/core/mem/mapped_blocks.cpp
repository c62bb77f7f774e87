// Mapping, keeping and moving large blocks on Linux.
//
//   mapping:  | the heap's page | block: whole huge pages, or small ones behind the last where rounding up would waste memory |
//
// Advice on huge pages is given for the block alone: the heap's page, which is always touched, then never shares a huge page
// with it. errno is kept: callers look at the result.
#include "mapped_blocks.hpp"

#if defined(__linux__) && defined(__x86_64__)

#    include <algorithm>
#    include <cerrno>
#    include <cstdint>
#    include <cstring>
#    include <mutex>
#    include <pthread.h>
#    include <sys/mman.h>
#    include <sys/resource.h>
#    include <unistd.h>

namespace foundation::core::mem {

namespace {

constexpr std::size_t huge_page = std::size_t{2} << 20;
constexpr std::size_t small_page = mapped_block_offset;

constexpr std::size_t round_up(std::size_t bytes, std::size_t unit) noexcept {
    return (bytes + unit - 1) / unit * unit;
}

/// Bytes mapped for a block: whole huge pages unless that adds more than an eighth.
constexpr std::size_t mapped_size(std::size_t size) noexcept {
    const std::size_t whole = round_up(size, huge_page);
    return whole - size <= size / 8 ? whole : round_up(size, small_page);
}

class errno_keeper {
public:
    errno_keeper() noexcept : saved_(errno) {}
    ~errno_keeper() { errno = saved_; }
    errno_keeper(const errno_keeper&) = delete;
    errno_keeper& operator=(const errno_keeper&) = delete;

private:
    int saved_;
};

// A free block, described in the heap's page before it.
struct free_block {
    free_block* newer;
    free_block* older;
    std::size_t bytes;
};

free_block* description_of(void* block) noexcept {
    return reinterpret_cast<free_block*>(static_cast<char*>(block) - small_page);
}

void* block_of(free_block* description) noexcept { return reinterpret_cast<char*>(description) + small_page; }

void unmap(void* block, std::size_t bytes) noexcept {
    munmap(static_cast<char*>(block) - small_page, bytes + small_page);
}

// Free blocks by age. The newest is the likeliest to be in the caches, and to be asked for again; the oldest make room.
class free_list {
public:
    void* take(std::size_t bytes) noexcept {
        const std::lock_guard lock(mutex_);
        for (free_block* found = newest_; found != nullptr; found = found->older) {
            if (found->bytes == bytes) return unlink(found);
        }
        return nullptr;
    }

    /// False when the block alone is more than the list may hold.
    bool put(void* block, std::size_t bytes) noexcept {
        if (bytes > limit()) return false;
        const std::lock_guard lock(mutex_);
        while (count_ == largest_count || total_ > limit() - bytes) drop_oldest();
        free_block* const description = description_of(block);
        *description = {nullptr, newest_, bytes};
        (newest_ == nullptr ? oldest_ : newest_->newer) = description;
        newest_ = description;
        total_ += bytes;
        ++count_;
        return true;
    }

    void release_all() noexcept {
        const std::lock_guard lock(mutex_);
        while (oldest_ != nullptr) drop_oldest();
    }

    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }

private:
    static constexpr std::size_t largest_count = 256; // a search looks at each

    // An eighth of what the process may have.
    static std::size_t limit() noexcept {
        static const std::size_t bytes = [] {
            const std::size_t memory = static_cast<std::size_t>(std::max(sysconf(_SC_PHYS_PAGES), 0L)) *
                                       static_cast<std::size_t>(std::max(sysconf(_SC_PAGESIZE), 0L));
            rlimit space{};
            if (getrlimit(RLIMIT_AS, &space) != 0) return memory / 8;
            return std::min<std::size_t>(memory, space.rlim_cur) / 8;
        }();
        return bytes;
    }

    void* unlink(free_block* found) noexcept {
        (found->newer == nullptr ? newest_ : found->newer->older) = found->older;
        (found->older == nullptr ? oldest_ : found->older->newer) = found->newer;
        total_ -= found->bytes;
        --count_;
        return block_of(found);
    }

    void drop_oldest() noexcept {
        const std::size_t bytes = oldest_->bytes;
        unmap(unlink(oldest_), bytes);
    }

    std::mutex mutex_;
    free_block* newest_ = nullptr;
    free_block* oldest_ = nullptr;
    std::size_t total_ = 0;
    std::size_t count_ = 0;
};

constinit free_list kept_blocks;

// A child of fork() has one thread only: the lock must not be another's.
[[maybe_unused]] const int guarded_over_fork =
    pthread_atfork([] { kept_blocks.lock(); }, [] { kept_blocks.unlock(); }, [] { kept_blocks.unlock(); });

// Mapped one huge page longer and trimmed to the boundary.
void* map_pages(std::size_t length) noexcept {
    return mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

void* map_fresh(std::size_t bytes) noexcept {
    const std::size_t length = small_page + bytes + huge_page;
    void* raw = map_pages(length);
    if (raw == MAP_FAILED) {
        kept_blocks.release_all();
        raw = map_pages(length);
    }
    if (raw == MAP_FAILED) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    const std::size_t before = round_up(address + small_page, huge_page) - small_page - address;
    char* const begin = static_cast<char*>(raw) + before;
    if (before != 0) munmap(raw, before);
    if (before != huge_page) munmap(begin + small_page + bytes, huge_page - before);
    void* const block = begin + small_page;
    madvise(block, bytes, MADV_HUGEPAGE); // a system that refuses gives small pages
    return block;
}

} // namespace

void* map_block(std::size_t size, bool zeroed) noexcept {
    const errno_keeper keeper;
    const std::size_t bytes = mapped_size(size);
    void* const block = kept_blocks.take(bytes);
    if (block == nullptr) return map_fresh(bytes);
    if (zeroed) std::memset(block, 0, size);
    return block;
}

void unmap_block(void* block, std::size_t size) noexcept {
    const errno_keeper keeper;
    const std::size_t bytes = mapped_size(size);
    // The pages stay until the system wants them. Where it can't have them back, nothing is kept.
    if (madvise(block, bytes, MADV_FREE) != 0 || !kept_blocks.put(block, bytes)) unmap(block, bytes);
}

void* remap_block(void* block, std::size_t size, std::size_t new_size) noexcept {
    const errno_keeper keeper;
    const std::size_t bytes = mapped_size(size);
    const std::size_t new_bytes = mapped_size(new_size);
    if (new_bytes == bytes) return block;
    if (mremap(block, bytes, new_bytes, 0) != MAP_FAILED) return block;
    void* const target = map_fresh(new_bytes);
    if (target == nullptr) return nullptr;
    if (mremap(block, bytes, new_bytes, MREMAP_MAYMOVE | MREMAP_FIXED, target) == MAP_FAILED) {
        unmap(target, new_bytes);
        return nullptr;
    }
    munmap(static_cast<char*>(block) - small_page, small_page);
    return target;
}

void release_kept_blocks() noexcept {
    const errno_keeper keeper;
    kept_blocks.release_all();
}

} // namespace foundation::core::mem

#endif
