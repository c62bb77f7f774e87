// Caches of several threads: each has its own, a pair belongs to whoever ends it, and a thread takes its cache along.
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/death.hpp"

#include "platform/test_hooks.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>

#include <algorithm>
#include <thread>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::cache::CacheInfo;
using dims_list = std::vector<std::size_t>;

array_ptr bytes(std::size_t n) { return matrix::create(dims_list{n, 1}, ndINT8_CLASS, ndREAL); }

template <class Body>
void on_another_thread(Body&& body) {
    std::thread(std::forward<Body>(body)).join();
}

using CacheThreads = CacheTest;

TEST_F(CacheThreads, AnArrayLandsInTheBinOfTheThreadThatEndsIt) {
    array_ptr array = bytes(100);
    const ndArray_tag* const header = array.get();
    on_another_thread([&] {
        EXPECT_EQ(CacheInfo().total_count, 0U);
        array.reset();
        EXPECT_EQ(CacheInfo().bins[3].count, 1U);
        array = bytes(120);
        EXPECT_EQ(array.get(), header);
    });
    EXPECT_EQ(CacheInfo().total_count, 0U);
    array.reset();
    EXPECT_EQ(CacheInfo().bins[3].count, 1U);
}

TEST_F(CacheThreads, AThreadThatEndsGivesEverythingBack) {
    const live_blocks before = count_live_blocks();
    on_another_thread([] {
        std::vector<array_ptr> arrays;
        for (const std::size_t n : CacheInfo::getBinSizes()) {
            for (int i = 0; i < 10; ++i) arrays.push_back(bytes(n));
        }
        arrays.clear();
        EXPECT_EQ(CacheInfo().total_count, 180U);
    });
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0);
    EXPECT_EQ(left.aligned_heap, 0);
}

// A bin at its limit goes as any other: what it took and what it refused are freed once.
TEST_F(CacheThreads, AThreadThatEndsEmptiesAFullBin) {
    constexpr std::size_t limit = 204;
    const live_blocks before = count_live_blocks();
    std::vector<void*> blocks;
    heap_watch heap;
    on_another_thread([&] {
        std::vector<array_ptr> arrays;
        for (std::size_t i = 0; i <= limit; ++i) {
            arrays.push_back(bytes(16240));
            blocks.push_back(arrays.back()->pdata);
        }
        for (array_ptr& array : arrays) array.reset();
        EXPECT_EQ(CacheInfo().bins[17].count, limit);
        EXPECT_EQ(heap.freed(), std::vector<void*>{blocks.back()}) << "there was no place for the last one";
    });
    std::rotate(blocks.begin(), blocks.end() - 1, blocks.end());
    std::reverse(blocks.begin() + 1, blocks.end());
    EXPECT_EQ(heap.freed(), blocks) << "the last one in is the first one out";
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0);
    EXPECT_EQ(left.aligned_heap, 0);
}

// The order in which the exit of a thread empties its bins: from the largest blocks to the smallest.
TEST_F(CacheThreads, AThreadThatEndsGoesFromTheLastBinToTheFirst) {
    heap_watch heap;
    std::vector<void*> blocks;
    on_another_thread([&] {
        std::vector<array_ptr> arrays;
        for (const std::size_t n : CacheInfo::getBinSizes()) {
            arrays.push_back(bytes(n));
            blocks.insert(blocks.begin(), arrays.back()->pdata);
        }
    });
    EXPECT_EQ(heap.freed(), blocks);
}

TEST_F(CacheThreads, ClearOnAThreadThatNeverUsedItIsNothing) {
    on_another_thread([] {
        matrix::cache::clear();
        const CacheInfo info;
        EXPECT_EQ(info.bins.size(), 18U);
        EXPECT_EQ(info.total_count, 0U);
    });
}

TEST_F(CacheThreads, ClearEmptiesTheCallersBinsOnly) {
    bytes(8).reset();
    on_another_thread([] {
        bytes(8).reset();
        matrix::cache::clear();
        EXPECT_EQ(CacheInfo().total_count, 0U);
    });
    EXPECT_EQ(CacheInfo().total_count, 1U);
}

struct late_findings {
    std::size_t pairs = 99;
    bool fresh_is_cached = false;
};

// Its end runs behind the cache's own cleanup when it was made before: a thread's objects end in reverse order of their making.
struct late_user {
    array_ptr kept;
    late_findings* report = nullptr;

    ~late_user() {
        kept.reset();
        if (report == nullptr) return;
        const array_ptr fresh = bytes(8);
        report->fresh_is_cached = (fresh->flags & matrix::flag_cached_header) != 0;
        report->pairs = CacheInfo().total_count;
        matrix::cache::clear();
    }
};
thread_local late_user late;

// Arrays that outlive the cache of their thread are ended for good, taking is a miss that makes a new pair, and nothing is built
// anew that nobody would clean up.
TEST_F(CacheThreads, ArraysThatOutliveTheCacheOfTheirThreadAreFreed) {
    const live_blocks before = count_live_blocks();
    late_findings found;
    on_another_thread([&] {
        late.report = &found; // made before the first use of the cache
        bytes(8).reset();
        late.kept = bytes(8);
    });
    EXPECT_EQ(found.pairs, 0U);
    EXPECT_TRUE(found.fresh_is_cached);
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0);
    EXPECT_EQ(left.aligned_heap, 0);
}

TEST_F(CacheThreads, HandPairsRound) {
    constexpr int threads = 4, rounds = 300;
    std::vector<array_ptr> hands(threads * 8);
    for (std::size_t i = 0; i < hands.size(); ++i) hands[i] = bytes(1 + i * 37);
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::thread> crew;
        for (int t = 0; t < threads; ++t) {
            crew.emplace_back([&, t] {
                for (int i = 0; i < 8; ++i) {
                    array_ptr& hand = hands[static_cast<std::size_t>((t + round) % threads * 8 + i)];
                    const auto rows = static_cast<std::size_t>(1 + i * 37);
                    hand.reset();
                    hand = bytes(rows);
                    static_cast<std::int8_t*>(hand->pdata)[rows - 1] = 1;
                }
            });
        }
        for (std::thread& worker : crew) worker.join();
    }
}

foundation::core::mem::aligned_heap heap_with_overhead(std::size_t overhead) {
    auto heap = foundation::core::mem::aligned_heap_instance();
    heap.overhead_bytes = overhead;
    return heap;
}

constexpr const char* too_large_for_the_heap = "m_maxSize exceeds the maximum cutoff for the Windows Low "
                                               "Fragmentation Heap, this will cause performance "
                                               "regressions on Windows.";

void use_cache_with_overhead(std::size_t overhead) {
    foundation::test_hooks::swap_aligned_heap(heap_with_overhead(overhead));
    std::thread([] { matrix::cache::clear(); }).join();
    std::_Exit(0);
}

// The largest block with the heap's overhead stays within 16368 bytes, or the cache isn't built.
TEST(CacheConstruction, ChecksTheLargestBlock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(use_cache_with_overhead(128), ::testing::ExitedWithCode(0), "");
    EXPECT_TERMINATE_IN_CHILD(use_cache_with_overhead(129), too_large_for_the_heap);
    EXPECT_EXIT(
        {
            foundation::test_hooks::set_diag_terminate(false);
            use_cache_with_overhead(129);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace test
