// The cache of small arrays: which bin a request belongs to, what a pair is like when it comes again, what a bin keeps.
#include "matrix/array_cache.hpp"
#include "matrix/dims32.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/header_words.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sharing.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"

#include <nd/access.hpp>

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::cache::CacheInfo;
using dims_list = std::vector<std::size_t>;

constexpr std::size_t bin_sizes[] = {32,  64,   96,   128,  160,  192,  224,   256,   352,
                                     960, 2048, 4096, 6144, 8192, 9216, 10240, 13312, 16240};
constexpr std::size_t bin_limits[] = {284050, 97659, 67418, 42827, 19871, 79200, 43415, 17000, 8690,
                                      3514,   5178,  5957,  1599,  721,   631,   803,   360,   204};

array_ptr bytes(std::size_t n) { return matrix::create(dims_list{n, 1}, ndINT8_CLASS, ndREAL); }

bool is_cached(const array_ptr& array) { return (array->flags & matrix::flag_cached_header) != 0; }

std::size_t bin_of(const array_ptr& array) {
    EXPECT_TRUE(is_cached(array));
    return (array->flags & matrix::flag_bin_mask) >> matrix::flag_bin_shift;
}

std::vector<std::size_t> counts() {
    std::vector<std::size_t> counts;
    for (const CacheInfo::row& row : CacheInfo().bins) counts.push_back(row.count);
    return counts;
}

using Cache = CacheTest;

TEST_F(Cache, BinSizesAreGiven) {
    const auto sizes = CacheInfo::getBinSizes();
    EXPECT_TRUE(std::equal(sizes.begin(), sizes.end(), std::begin(bin_sizes), std::end(bin_sizes)));
    EXPECT_EQ(sizes.data(), CacheInfo::getBinSizes().data());
}

TEST_F(Cache, EachNumberOfBytesBelongsToTheSmallestBinThatHoldsIt) {
    std::size_t wanted = 0;
    for (std::size_t n = 1; n <= 16240; ++n) {
        if (n > bin_sizes[wanted]) ++wanted;
        const array_ptr array = bytes(n);
        ASSERT_EQ(bin_of(array), wanted) << n;
    }
    EXPECT_FALSE(is_cached(bytes(16241)));
    EXPECT_FALSE(is_cached(bytes(0)));
}

TEST_F(Cache, InfoOfAnEmptyCache) {
    const CacheInfo info;
    EXPECT_EQ(info.counters[0], 0U);
    EXPECT_EQ(info.counters[1], 0U);
    EXPECT_EQ(info.total_count, 0U);
    EXPECT_EQ(info.total_bytes, 0U);
    ASSERT_EQ(info.bins.size(), 18U);
    for (std::size_t i = 0; i < 18; ++i) {
        EXPECT_EQ(info.bins[i].bin_size, bin_sizes[i]);
        EXPECT_EQ(info.bins[i].count, 0U);
        EXPECT_EQ(info.bins[i].bytes, 0U);
    }
}

TEST_F(Cache, InfoCountsPairsAndTheirBytes) {
    std::vector<array_ptr> arrays;
    for (std::size_t i = 0; i < 18; ++i) {
        for (std::size_t n = 0; n <= i; ++n) arrays.push_back(bytes(bin_sizes[i]));
    }
    EXPECT_EQ(CacheInfo().total_count, 0U) << "in use, not in bins";
    arrays.clear();
    const CacheInfo info;
    std::size_t pairs = 0, all_bytes = 0;
    for (std::size_t i = 0; i < 18; ++i) {
        EXPECT_EQ(info.bins[i].count, i + 1);
        EXPECT_EQ(info.bins[i].bytes, (i + 1) * (bin_sizes[i] + 112));
        pairs += info.bins[i].count;
        all_bytes += info.bins[i].bytes;
    }
    EXPECT_EQ(info.total_count, pairs);
    EXPECT_EQ(info.total_bytes, all_bytes);
}

TEST_F(Cache, InfoHasItsFieldsInOrder) {
    static_assert(offsetof(CacheInfo, counters) == 0 && sizeof(CacheInfo::counters) == 16);
    static_assert(offsetof(CacheInfo, total_count) == 16 && offsetof(CacheInfo, total_bytes) == 24);
    static_assert(offsetof(CacheInfo, bins) == 32);
    static_assert(offsetof(CacheInfo::row, bin_size) == 0 && offsetof(CacheInfo::row, count) == 8 &&
                  offsetof(CacheInfo::row, bytes) == 16);
}

TEST_F(Cache, ThirtyThreeBytesTakeTheSecondBinAndZeroAllOfIt) {
    for (int round = 0; round < 2; ++round) {
        const array_ptr array = bytes(33);
        EXPECT_EQ(bin_of(array), 1U);
        const auto* block = static_cast<const unsigned char*>(array->pdata);
        EXPECT_TRUE(std::all_of(block, block + 64, [](unsigned char b) { return b == 0; }))
            << "round " << round;
        std::memset(array->pdata, 0xA5, 64);
    }
    EXPECT_EQ(counts()[1], 1U);
}

TEST_F(Cache, APairServesEverySizeOfItsBin) {
    array_ptr array = bytes(33);
    const void* const header = array.get();
    const void* const block = array->pdata;
    array.reset();
    array = matrix::create(dims_list{8, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(array.get(), header);
    EXPECT_EQ(array->pdata, block);
    array.reset();
    EXPECT_EQ(counts()[1], 1U);
}

TEST_F(Cache, TheLastPairBackIsTheFirstOut) {
    array_ptr first = bytes(8), second = bytes(8);
    const void* const first_header = first.get();
    const void* const second_header = second.get();
    first.reset();
    second.reset();
    first = bytes(8);
    EXPECT_EQ(first.get(), second_header);
    second = bytes(8);
    EXPECT_EQ(second.get(), first_header);
}

TEST_F(Cache, WithoutZeroingABlockComesAsItWasLeft) {
    array_ptr array = bytes(40);
    std::memset(array->pdata, 0xA5, 40);
    array.reset();
    array = array_ptr(api::ndCreateUninitNumericMatrix(5, 8, ndINT8_CLASS, ndREAL));
    EXPECT_EQ(static_cast<const unsigned char*>(array->pdata)[39], 0xA5);
}

// A full bin lets pairs go.
TEST_F(Cache, TheLastBinKeeps204Pairs) {
    std::vector<array_ptr> arrays;
    for (int i = 0; i < 206; ++i) arrays.push_back(bytes(16240));
    header_watch headers;
    heap_watch heap;
    for (std::size_t i = 0; i < 204; ++i) arrays[i].reset();
    EXPECT_EQ(counts()[17], 204U);
    EXPECT_TRUE(heap.freed().empty());
    void* const block = arrays[204]->pdata;
    arrays[204].reset();
    EXPECT_EQ(counts()[17], 204U);
    EXPECT_EQ(heap.times_freed(block), 1U) << "the 205th isn't kept";
    arrays[205].reset();
    EXPECT_EQ(counts()[17], 204U);
    EXPECT_EQ(heap.freed().size(), 2U);
    arrays[0] = bytes(16000);
    EXPECT_EQ(counts()[17], 203U);
    arrays[0].reset();
    EXPECT_EQ(counts()[17], 204U);
}

TEST_F(Cache, EveryBinHasItsOwnLimit) {
    for (std::size_t i = 0; i < 18; ++i) {
        if (bin_limits[i] * (bin_sizes[i] + 200) > 16'000'000)
            continue; // the others take too much memory for a test
        std::vector<array_ptr> arrays;
        for (std::size_t n = 0; n < bin_limits[i] + 3; ++n) arrays.push_back(bytes(bin_sizes[i]));
        arrays.clear();
        EXPECT_EQ(counts()[i], bin_limits[i]) << bin_sizes[i];
        matrix::cache::clear();
    }
}

TEST_F(Cache, EveryBinKnowsItsLimit) {
    bytes(1).reset(); // the thread's cache is built then
    for (std::size_t i = 0; i < 18; ++i)
        EXPECT_EQ(matrix::internal::the_cache.bins[i].max_count, bin_limits[i]) << bin_sizes[i];
}

TEST_F(Cache, CountersAreCopiedAndCleared) {
    matrix::internal::the_cache.counters = {3, 4};
    const CacheInfo info;
    EXPECT_EQ(info.counters[0], 3U);
    EXPECT_EQ(info.counters[1], 4U);
    matrix::cache::clear();
    EXPECT_EQ(CacheInfo().counters[0], 0U);
    EXPECT_EQ(CacheInfo().counters[1], 0U);
}

// A zeroed pair is zero to the end of its block, however little of it is asked for.
TEST_F(Cache, APairIsZeroedToTheEndOfItsBlock) {
    for (std::size_t i = 0; i < 18; ++i) {
        array_ptr array = bytes(bin_sizes[i]);
        const void* const block = array->pdata;
        std::memset(array->pdata, 0xA5, bin_sizes[i]);
        array.reset();
        array = bytes(i == 0 ? 1 : bin_sizes[i - 1] + 1);
        ASSERT_EQ(array->pdata, block);
        const auto* const first = static_cast<const unsigned char*>(block);
        EXPECT_TRUE(std::all_of(first, first + bin_sizes[i], [](unsigned char b) { return b == 0; })) << i;
    }
}

TEST_F(Cache, SixteenThousandTwoHundredAndFortyBytesAreTheMost) {
    const array_ptr last = matrix::create(dims_list{2030, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(bin_of(last), 17U);
    EXPECT_FALSE(is_cached(matrix::create(dims_list{2031, 1}, ndDOUBLE_CLASS, ndREAL))) << "16248 bytes";
    EXPECT_TRUE(is_cached(matrix::create(dims_list{1, 1, 1, 2030}, ndDOUBLE_CLASS, ndREAL)));
    EXPECT_TRUE(is_cached(matrix::create(dims_list{7, 10, 29}, ndDOUBLE_CLASS, ndREAL)));
    EXPECT_FALSE(is_cached(matrix::create(dims_list{127, 128}, ndINT8_CLASS, ndREAL)));
}

// A dimension above the largest block goes the way where sizes are checked, even where another one is 0.
TEST_F(Cache, ALargeDimensionGoesPastIt) {
    EXPECT_FALSE(is_cached(matrix::create(dims_list{16241, 0}, ndDOUBLE_CLASS, ndREAL)));
    EXPECT_FALSE(is_cached(matrix::create(dims_list{0, 16241}, ndDOUBLE_CLASS, ndREAL)));
    EXPECT_FALSE(is_cached(matrix::create(dims_list{}, ndDOUBLE_CLASS, ndREAL)));
    EXPECT_THROW(
        matrix::create(dims_list{std::size_t{1} << 40, std::size_t{1} << 40}, ndDOUBLE_CLASS, ndREAL),
        std::exception);
    const array_ptr none = matrix::create(dims_list{0, ~std::size_t{0}}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(api::ndGetN(none.get()), ~std::size_t{0});
}

TEST_F(Cache, SwitchedOffTakesNoPairsButPutsThemBack) {
    array_ptr array = bytes(100);
    matrix::cache::setEnabled(false);
    EXPECT_FALSE(matrix::cache::isEnabled());
    array.reset();
    EXPECT_EQ(counts()[3], 1U);
    const array_ptr plain = bytes(100);
    EXPECT_FALSE(is_cached(plain));
    EXPECT_EQ(counts()[3], 1U);
    matrix::cache::setEnabled(true);
    EXPECT_TRUE(matrix::cache::isEnabled());
    array = bytes(100);
    EXPECT_TRUE(is_cached(array));
    EXPECT_EQ(counts()[3], 0U);
}

TEST_F(Cache, ClearGivesEveryPairBack) {
    const header_watch headers;
    std::vector<array_ptr> arrays;
    for (const std::size_t n : bin_sizes) arrays.push_back(bytes(n));
    heap_watch heap;
    std::vector<void*> blocks;
    for (const array_ptr& array : arrays) blocks.push_back(array->pdata);
    arrays.clear();
    matrix::cache::clear();
    EXPECT_EQ(CacheInfo().total_count, 0U);
    std::vector<void*> freed = heap.freed();
    std::sort(freed.begin(), freed.end());
    std::sort(blocks.begin(), blocks.end());
    EXPECT_EQ(freed, blocks);
    EXPECT_EQ(headers.freed_headers().size(), blocks.size());
    matrix::cache::clear();
    EXPECT_EQ(heap.freed().size(), blocks.size());
}

// A header that comes again has nothing of its last life: word for word it is like one that was constructed.
TEST_F(Cache, AHeaderComesAgainAsIfItWereNew) {
    const auto dirty = [](ndArray_tag* array) {
        array->flags |= 0xA5000000U | matrix::flag_empty_square_bracket | matrix::flag_from_global_workspace |
                        matrix::flag_reusable | matrix::flag_colon_object;
        array->scope = ndPERSISTENT_SCOPE;
        array->parent = array;
        array->info_a = 1;
        array->info_b = 2;
        array->info_c = 3;
        array->set_dimensions(dims_list{1, 2, 3, 4});
        matrix::internal::narrowed_dimensions(array);
        array->setCustomDeleter(nullptr);
    };
    for (const class_case& c : classes_of(class_set::with_bytes)) {
        for (const dims_list& dims : {dims_list{1, 1}, dims_list{1, 2, 2}}) {
            SCOPED_TRACE(c.name);
            matrix::cache::clear();
            const array_ptr constructed = matrix::detail::do_create_numeric(dims, c.code());
            array_ptr other = matrix::detail::do_create_numeric(dims, c.code());
            ndArray_tag* const header = other.get();
            dirty(other.get());
            other.reset();
            const array_ptr again = matrix::detail::do_create_numeric(dims, c.code());
            ASSERT_EQ(again.get(), header);
            EXPECT_EQ(differing_words(constructed.get(), again.get()), "");
            EXPECT_EQ(matrix::internal::validate(again.get()), "");
        }
    }
}

TEST_F(Cache, APairOfAnotherClassComesAgainAsIfItWereNew) {
    for (const class_case& c : classes_of(class_set::with_bytes)) {
        const array_ptr constructed = matrix::detail::do_create_numeric(dims_list{1, 1}, c.code());
        matrix::create(dims_list{1, 1}, ndDOUBLE_CLASS, ndCOMPLEX).reset();
        const array_ptr again = matrix::detail::do_create_numeric(dims_list{1, 1}, c.code());
        EXPECT_EQ(differing_words(constructed.get(), again.get()), "") << c.name;
    }
}

TEST_F(Cache, ManyDimensionsDontStayWithAPair) {
    const dims_list shapes[] = {{1, 1, 1, 1, 1}, {2, 1, 2}, {2, 2, 2, 2}, {4, 4}, {1, 1, 16}};
    for (const dims_list& first : shapes) {
        for (const dims_list& second : shapes) {
            array_ptr array = matrix::create(first, ndINT8_CLASS, ndREAL);
            array->set_dimensions(second);
            array.reset();
            EXPECT_EQ(CacheInfo().total_count, 1U);
            array = matrix::create(second, ndINT8_CLASS, ndREAL);
            array.reset();
        }
    }
}

TEST_F(Cache, APairWithNarrowedDimensionsGoesBackToo) {
    array_ptr array = bytes(100);
    matrix::internal::narrowed_dimensions(array.get());
    array.reset();
    EXPECT_EQ(counts()[3], 1U);
    EXPECT_EQ(bytes(100)->dims32, nullptr);
}

// What a pair had in its life beside its block is gone when it lies in its bin, whichever way it came there.
TEST_F(Cache, APairInItsBinHasItsBlockAndNothingElse) {
    struct {
        const char* name;
        array_ptr (*make)();
    } const rows[] = {
        {"a matrix", [] { return bytes(8); }},
        {"of three dimensions",
         [] {
             return matrix::create(dims_list{2, 3, 4}, ndINT8_CLASS, ndREAL);
         }},
        {"with narrowed dimensions",
         [] {
             array_ptr array = bytes(8);
             matrix::internal::narrowed_dimensions(array.get());
             return array;
         }},
        {"with a share record of its own",
         [] {
             array_ptr array = bytes(8);
             matrix::internal::ensure_share_record(array.get());
             return array;
         }},
        {"whose sharer has ended",
         [] {
             array_ptr array = bytes(8);
             matrix::detail::do_shared_copy(array.get()).reset();
             return array;
         }},
        {"of a class that keeps more than a block",
         [] {
             return matrix::detail::do_create_numeric(dims_list{1, 1},
                                                      matrix::internal::code_of(ndFUNCTION_CLASS, false));
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        matrix::cache::clear();
        array_ptr array = row.make();
        array->parent = array.get();
        array.reset();
        EXPECT_GE(CacheInfo().total_count, 1U);
        EXPECT_EQ(matrix::internal::validate_cache(), "");
    }
}

TEST_F(Cache, IsLookedAtBeforeItIsTurnedOff) {
    EXPECT_NONFATAL_FAILURE(
        {
            const cache_on again;
            bytes(8).reset();
            ndArray_tag* const pair = matrix::internal::the_cache.bins[0].head;
            foundation::core::mem::unguard(pair, sizeof(ndArray_tag));
            pair->parent = pair;
        },
        "a pair has no parent");
}

// Sharing doesn't take a block out of its bin: the last sharer puts it back, and the others' headers just go.
TEST_F(Cache, TheLastSharerPutsThePairBack) {
    for (const bool source_last : {false, true}) {
        array_ptr source = arr("double 1x3", {1, 2, 3});
        array_ptr copy = matrix::detail::do_shared_copy(source.get());
        EXPECT_EQ(bin_of(copy), bin_of(source)) << "a sharer of a cached block is cached itself";
        void* const block = source->pdata;
        (source_last ? copy : source).reset();
        EXPECT_EQ(CacheInfo().total_count, 0U);
        array_ptr& last = source_last ? source : copy;
        EXPECT_THAT(last, EqualsArray(arr("double 1x3", {1, 2, 3})));
        const void* const header = last.get();
        last.reset();
        matrix::cache::CacheInfo info;
        EXPECT_GE(info.bins[0].count, 1U);
        const array_ptr again = matrix::create(dims_list{1, 3}, ndDOUBLE_CLASS, ndREAL);
        EXPECT_EQ(again.get(), header);
        EXPECT_EQ(again->pdata, block);
        EXPECT_EQ(again->share_record, nullptr);
        EXPECT_FALSE(again->flags & matrix::flag_shared_data);
        matrix::cache::clear();
    }
}

TEST_F(Cache, AReplacedBlockNeverGoesIntoABin) {
    double mine[2] = {};
    array_ptr array = matrix::create(dims_list{2, 2}, ndDOUBLE_CLASS, ndREAL);
    heap_watch heap;
    void* const own = array->pdata;
    array->set_pdata_and_deleter(mine, [](void*) {});
    array.reset();
    EXPECT_EQ(CacheInfo().total_count, 0U);
    EXPECT_EQ(heap.times_freed(own), 0U) << "the old block is the caller's";
    foundation::core::mem::aligned_heap_instance().free(own);
}

TEST_F(Cache, AFunctionHandleGoesBackThroughTheGeneralWay) {
    const auto code = matrix::internal::code_of(ndFUNCTION_CLASS, false);
    array_ptr handle = matrix::detail::do_create_numeric(dims_list{1, 1}, code);
    EXPECT_EQ(bin_of(handle), 0U);
    handle->parent = handle.get();
    handle.reset();
    EXPECT_EQ(counts()[0], 1U);
    const array_ptr number = matrix::create(dims_list{1, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(number->parent, nullptr);
    EXPECT_EQ(counts()[0], 0U);
}

TEST_F(Cache, ContainersNeverGoIntoABin) {
    for (const ndClassID id : {ndCELL_CLASS, ndSTRUCT_CLASS, ndOBJECT_CLASS}) {
        matrix::detail::do_create_numeric(dims_list{1, 2}, matrix::internal::code_of(id, false)).reset();
        EXPECT_EQ(CacheInfo().total_count, 0U) << id;
    }
    matrix::create_cell(dims_list{1, 2}).reset();
    EXPECT_EQ(CacheInfo().total_count, 0U);
}

// A deep copy of a cached array takes a pair of the same bin, flags and all.
TEST_F(Cache, ADeepCopyComesFromTheSameBin) {
    for (const class_case& c : classes_of(class_set::with_bytes)) {
        const array_ptr source = numbered(c.id, c.complexity, dims_list{2, 3});
        source->flags |= 0x5A000000U | matrix::flag_from_global_workspace | matrix::flag_reusable;
        const array_ptr copy = matrix::detail::do_deep_copy(source.get());
        EXPECT_THAT(copy, EqualsArray(source.get()));
        EXPECT_EQ(copy->flags, source->flags & ~matrix::flag_reusable) << c.name;
        EXPECT_NE(copy->pdata, source->pdata);
    }
}

TEST_F(Cache, ADeepCopyWithTheCacheOffIsPlain) {
    const array_ptr source = arr("double 1x3", {1, 2, 3});
    matrix::cache::setEnabled(false);
    const array_ptr copy = matrix::detail::do_deep_copy(source.get());
    EXPECT_FALSE(is_cached(copy));
    EXPECT_THAT(copy, EqualsArray(source.get()));
}

TEST_F(Cache, IsOffUntilSomebodyTurnsItOn) {
    const cache_on again;
    matrix::cache::setEnabled(false);
    for (const std::size_t n : bin_sizes) EXPECT_FALSE(is_cached(bytes(n)));
}

} // namespace
} // namespace test
