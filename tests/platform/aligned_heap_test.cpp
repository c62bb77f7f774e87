// The aligned heap: alignment, contents over reallocation, failure, and what large blocks cost.
#include "platform/test_hooks.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

using foundation::core::mem::aligned_heap;
using foundation::core::mem::aligned_heap_instance;
using foundation::core::mem::heap_alignment;
namespace hooks = foundation::test_hooks;

constexpr std::size_t mebibyte = std::size_t{1} << 20;

// clang-format off
const std::size_t sizes[] = {
    0, 1, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 127, 128, 129, 1000, 4032, 4033, 4095, 4096, 4097, 9216,
    16240, 65536, 131071, 131072, mebibyte + 3, 4 * mebibyte};
// clang-format on

struct heap_deleter {
    void operator()(void* p) const { aligned_heap_instance().free(p); }
};
using block = std::unique_ptr<unsigned char, heap_deleter>;

block owned(void* p) { return block(static_cast<unsigned char*>(p)); }

block allocate(std::size_t size) { return owned(aligned_heap_instance().malloc(size)); }

bool is_aligned(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % heap_alignment == 0; }

// The byte at a position of a block that was filled under a seed; it repeats at no power of two.
unsigned char pattern(std::size_t i, unsigned seed) {
    return static_cast<unsigned char>(i * 7 + i / 251 + seed);
}

void fill(unsigned char* bytes, std::size_t size, unsigned seed) {
    for (std::size_t i = 0; i < size; ++i) bytes[i] = pattern(i, seed);
}

// The first position that doesn't hold the pattern; `size` if all do.
std::size_t first_wrong(const unsigned char* bytes, std::size_t size, unsigned seed) {
    std::size_t i = 0;
    while (i < size && bytes[i] == pattern(i, seed)) ++i;
    return i;
}

// Reallocates a block, which must not be lost when that fails.
bool reallocate(block& b, std::size_t size) {
    void* const moved = aligned_heap_instance().realloc(b.get(), size);
    if (moved == nullptr) return false;
    static_cast<void>(b.release()); // gone into the new one
    b.reset(static_cast<unsigned char*>(moved));
    return true;
}

TEST(aligned_heap, blocks_of_all_sizes_are_aligned_and_writable) {
    const aligned_heap& heap = aligned_heap_instance();
    for (const std::size_t size : sizes) {
        SCOPED_TRACE(size);
        const block blocks[] = {owned(heap.malloc(size)), owned(heap.calloc(1, size)),
                                owned(heap.calloc(size, 1)), owned(heap.realloc(nullptr, size))};
        unsigned seed = 0;
        for (const block& b : blocks) {
            ASSERT_NE(b, nullptr);
            EXPECT_TRUE(is_aligned(b.get()));
            fill(b.get(), size, ++seed);
        }
        seed = 0;
        for (const block& b : blocks) EXPECT_EQ(first_wrong(b.get(), size, ++seed), size);
    }
}

TEST(aligned_heap, calloc_zeroes_memory_that_was_used_before) {
    for (const std::size_t size : sizes) {
        for (int round = 0; round < 3; ++round) {
            block dirty = allocate(size);
            std::memset(dirty.get(), 0xFF, size);
            dirty.reset();
            const block zeroed = owned(aligned_heap_instance().calloc(size, 1));
            EXPECT_EQ(std::count(zeroed.get(), zeroed.get() + size, 0), static_cast<std::ptrdiff_t>(size));
        }
    }
}

TEST(aligned_heap, realloc_from_any_size_to_any_size_keeps_the_contents) {
    for (const std::size_t from : sizes) {
        const block source = allocate(from);
        fill(source.get(), from, 1);
        for (const std::size_t to : sizes) {
            block b = allocate(from);
            std::memcpy(b.get(), source.get(), from);
            ASSERT_TRUE(reallocate(b, to));
            EXPECT_TRUE(is_aligned(b.get()));
            EXPECT_EQ(std::memcmp(b.get(), source.get(), std::min(from, to)), 0) << from << " to " << to;
        }
    }
}

// Many blocks of odd sizes between each other, so that the C heap moves raw blocks to all four distances from a
// multiple of 64.
TEST(aligned_heap, chains_of_reallocs_keep_the_contents) {
    std::mt19937 random(20240517);
    struct tracked {
        block b;
        std::size_t size;
        unsigned seed;
    };
    std::vector<tracked> all;
    for (unsigned i = 0; i < 300; ++i) {
        all.push_back({allocate(i), i, i});
        fill(all.back().b.get(), i, i);
    }
    for (int step = 0; step < 30000; ++step) {
        tracked& t = all[random() % all.size()];
        const std::size_t limit = step % 100 == 0 ? 200000 : 2000;
        const std::size_t size = random() % limit;
        ASSERT_TRUE(reallocate(t.b, size));
        ASSERT_TRUE(is_aligned(t.b.get()));
        const std::size_t kept = std::min(size, t.size);
        ASSERT_EQ(first_wrong(t.b.get(), kept, t.seed), kept) << "step " << step;
        t.size = size;
        t.seed = static_cast<unsigned>(random());
        fill(t.b.get(), size, t.seed);
    }
    for (const tracked& t : all) EXPECT_EQ(first_wrong(t.b.get(), t.size, t.seed), t.size);
}

TEST(aligned_heap, size_0_gives_a_block_and_null_is_freed) {
    const aligned_heap& heap = aligned_heap_instance();
    const block first = allocate(0);
    const block second = owned(heap.calloc(0, 8));
    block third = allocate(100);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_TRUE(reallocate(third, 0)); // a block still, not freed
    EXPECT_NE(third, nullptr);
    heap.free(nullptr);
}

TEST(aligned_heap, sizes_that_overflow_give_null) {
    const aligned_heap& heap = aligned_heap_instance();
    const std::size_t too_large[] = {SIZE_MAX,      SIZE_MAX - 1,     SIZE_MAX - 63, SIZE_MAX - 64,
                                     SIZE_MAX - 65, SIZE_MAX / 2 + 1, SIZE_MAX / 2,  SIZE_MAX / 2 - 63};
    for (const std::size_t size : too_large) {
        block b = allocate(100);
        fill(b.get(), 100, 3);
        EXPECT_EQ(heap.malloc(size), nullptr) << size;
        EXPECT_EQ(heap.calloc(1, size), nullptr) << size;
        EXPECT_EQ(heap.calloc(size, 1), nullptr) << size;
        EXPECT_FALSE(reallocate(b, size)) << size;
        EXPECT_EQ(first_wrong(b.get(), 100, 3), 100U) << "the block after the failed realloc";
    }
    const struct {
        std::size_t n, size;
    } products[] = {{SIZE_MAX, 2},
                    {2, SIZE_MAX},
                    {SIZE_MAX, SIZE_MAX},
                    {std::size_t{1} << 32, std::size_t{1} << 32},
                    {(std::size_t{1} << 32) + 1, std::size_t{1} << 32},
                    {std::size_t{1} << 61, 8}};
    for (const auto& product : products) {
        EXPECT_EQ(heap.calloc(product.n, product.size), nullptr) << product.n << " times " << product.size;
    }
}

TEST(aligned_heap, overhead_is_at_most_64) { EXPECT_LE(aligned_heap_instance().overhead(), 64U); }

TEST(aligned_heap, blocks_may_end_on_another_thread) {
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        threads.emplace_back([seed] {
            for (std::size_t size = 1; size < 20000; size = size * 3 / 2 + 1) {
                block b = allocate(size);
                fill(b.get(), size, seed);
                std::thread other([moved = std::move(b), size, seed]() mutable {
                    EXPECT_TRUE(reallocate(moved, 2 * size));
                    EXPECT_EQ(first_wrong(moved.get(), size, seed), size);
                });
                other.join();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// ---- the slots can be replaced, by tests only

aligned_heap real_heap;
int mallocs = 0;

TEST(aligned_heap, slots_can_be_swapped_and_put_back) {
    real_heap = hooks::swap_aligned_heap({[](std::size_t size) {
                                              ++mallocs;
                                              return real_heap.malloc(size);
                                          },
                                          [](std::size_t, std::size_t) -> void* { return nullptr; },
                                          real_heap.realloc, [](void* p) { real_heap.free(p); }, 200});
    EXPECT_EQ(real_heap.overhead(), 64U);
    EXPECT_EQ(aligned_heap_instance().overhead(), 200U);
    allocate(10).reset();
    EXPECT_EQ(mallocs, 1);
    EXPECT_EQ(aligned_heap_instance().calloc(1, 1), nullptr);
    hooks::swap_aligned_heap(real_heap);
    allocate(10).reset();
    EXPECT_EQ(mallocs, 1);
    EXPECT_EQ(aligned_heap_instance().overhead(), 64U);
}

// ---- what large blocks cost; the allocators of sanitizers have costs of their own

#ifndef ND_SANITIZED

long page_faults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

constexpr long few_faults =
    8; // a fault may bring in a huge page of 2 MiB, so few faults can't hide a touched block

TEST(aligned_heap, a_large_zeroed_block_touches_no_page) {
    const long before = page_faults();
    const block b = owned(aligned_heap_instance().calloc(128 * mebibyte, 8));
    const long after = page_faults();
    ASSERT_NE(b, nullptr);
    EXPECT_LE(after - before, few_faults);
    EXPECT_EQ(b.get()[0] + b.get()[512 * mebibyte] + b.get()[1024 * mebibyte - 1], 0);
}

TEST(aligned_heap, a_size_that_no_machine_has_gives_null_and_keeps_the_block) {
    const std::size_t size = std::size_t{1} << 52;
    block b = allocate(1000);
    fill(b.get(), 1000, 9);
    EXPECT_EQ(aligned_heap_instance().malloc(size), nullptr);
    EXPECT_EQ(aligned_heap_instance().calloc(size / 8, 8), nullptr);
    EXPECT_FALSE(reallocate(b, size));
    EXPECT_EQ(first_wrong(b.get(), 1000, 9), 1000U);
}

#    ifndef ND_TORTURE // there each block comes straight from the C heap

// The flags of the mapping that holds an address, from /proc/self/smaps.
std::string mapping_flags(const void* address) {
    std::ifstream maps("/proc/self/smaps");
    bool inside = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx ", &begin, &end) == 2) {
            inside = begin <= reinterpret_cast<std::uintptr_t>(address) &&
                     reinterpret_cast<std::uintptr_t>(address) < end;
        } else if (inside && line.rfind("VmFlags:", 0) == 0) {
            return line + ' ';
        }
    }
    return {};
}

bool system_has_huge_pages() { return std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled").good(); }

TEST(aligned_heap, blocks_from_4_mebibytes_on_are_advised_to_use_huge_pages) {
    const block large = allocate(64 * mebibyte);
    const block zeroed = owned(aligned_heap_instance().calloc(64, mebibyte));
    block grown = allocate(1000);
    ASSERT_TRUE(reallocate(grown, 64 * mebibyte));
    const block small = allocate(1000);
    for (const unsigned char* const first : {large.get(), zeroed.get(), grown.get()}) {
        for (const unsigned char* p : {first, first + 32 * mebibyte, first + 64 * mebibyte - 1}) {
            EXPECT_EQ(mapping_flags(p).find(" hg ") != std::string::npos, system_has_huge_pages())
                << mapping_flags(p);
        }
    }
    EXPECT_NE(mapping_flags(small.get()), "");
    EXPECT_EQ(mapping_flags(small.get()).find(" hg "), std::string::npos);
}

TEST(aligned_heap, large_blocks_begin_at_a_huge_page_and_come_back_when_they_are_asked_for_again) {
    constexpr std::size_t size = 33 * mebibyte + 5; // no other test uses it
    block first = owned(aligned_heap_instance().calloc(1, size));
    const void* const address = first.get();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % (2 * mebibyte), 0U);
    std::memset(first.get(), 0xA5, size);
    first.reset();
    const block second = owned(aligned_heap_instance().calloc(1, size));
    EXPECT_EQ(second.get(), address) << "the freed block was kept";
    EXPECT_TRUE(std::all_of(second.get(), second.get() + size, [](unsigned char byte) { return byte == 0; }));
}

TEST(aligned_heap, large_blocks_of_many_threads_stay_apart) {
    std::vector<std::thread> threads;
    for (unsigned char mark = 1; mark <= 4; ++mark) {
        threads.emplace_back([mark] {
            for (std::size_t round = 0; round < 50; ++round) {
                const std::size_t size = (4 + round % 3) * mebibyte;
                const block b = allocate(size);
                for (std::size_t i = 0; i < size; i += 4096) b.get()[i] = mark;
                bool own = true;
                for (std::size_t i = 0; i < size; i += 4096) own = own && b.get()[i] == mark;
                EXPECT_TRUE(own);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(aligned_heap, a_large_block_is_reallocated_without_copying) {
    // Sizes around a page boundary: the last page of a mapping may hold nothing of the block but the slack.
    for (const std::size_t odd : {0, 17, 4096 - 88, 4096 - 80, 4096 - 72, 4096 - 64}) {
        SCOPED_TRACE(odd);
        const std::size_t size = 64 * mebibyte + odd;
        block b = allocate(size);
        ASSERT_NE(b, nullptr);
        for (std::size_t i = 0; i < size; i += 1024) b.get()[i] = pattern(i, 1); // every page has its content
        for (const std::size_t factor : {2, 5, 11, 1}) {
            const long before = page_faults();
            ASSERT_TRUE(reallocate(b, factor * size));
            EXPECT_LE(page_faults() - before, few_faults) << "by " << factor;
            EXPECT_TRUE(is_aligned(b.get()));
        }
        std::size_t i = 0;
        while (i < size && b.get()[i] == pattern(i, 1)) i += 1024;
        EXPECT_GE(i, size) << "the first wrong byte";
    }
}

#    endif
#endif

#ifdef ND_TORTURE

TEST(aligned_heap, every_realloc_moves) {
    for (const std::size_t size : sizes) {
        block b = allocate(size);
        const auto before = reinterpret_cast<std::uintptr_t>(b.get());
        ASSERT_TRUE(reallocate(b, size));
        EXPECT_NE(reinterpret_cast<std::uintptr_t>(b.get()), before) << size;
    }
}

#endif

// ---- AddressSanitizer knows where a block ends, though the C heap's block goes on

#if defined(__SANITIZE_ADDRESS__)
#    define WITH_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        define WITH_ADDRESS_SANITIZER 1
#    endif
#endif

#ifdef WITH_ADDRESS_SANITIZER

void write_at(unsigned char* bytes, std::ptrdiff_t position) {
    volatile unsigned char* const p = bytes + position;
    *p = 1;
}

TEST(aligned_heap_death, a_write_beside_a_block_is_seen) {
    for (const std::size_t size : {1, 8, 30, 64, 1000}) {
        block b = allocate(size);
        ASSERT_TRUE(reallocate(b, size + 3));
        const auto end = static_cast<std::ptrdiff_t>(size + 3);
        write_at(b.get(), 0);
        write_at(b.get(), end - 1);
        EXPECT_DEATH(write_at(b.get(), end), "AddressSanitizer") << size;
        EXPECT_DEATH(write_at(b.get(), -1), "AddressSanitizer") << size;
    }
}

#endif

} // namespace
