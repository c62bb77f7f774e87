// The fixture notices what a test leaves behind, and the sources of memory are counted one by one.
#include "support/fixture.hpp"

#include "matrix/array_cache.hpp"
#include "matrix/header_allocator.hpp"
#include "matrix/library_context.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/lists.hpp>
#include <nd/memory.hpp>
#include <nd/module.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <utility>

namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using test::arr;
using test::count_live_blocks;
using test::live_blocks;
using test::NdTest;

// A fixture to be run by hand, around whatever a test does meanwhile.
struct inner_fixture : NdTest {
    using NdTest::keep;
    void TestBody() override {}
};

TEST(Balance, CountsEachSource) {
    const live_blocks before = count_live_blocks();
    void* header = matrix::internal::allocate_header_block(112);
    void* data = foundation::core::mem::aligned_heap_instance().malloc(10);
    auto other = std::make_unique<int>(1);
    EXPECT_EQ(count_live_blocks() - before, (live_blocks{1, 1, 1}));
    matrix::internal::free_header_block(header);
    foundation::core::mem::aligned_heap_instance().free(data);
    other.reset();
    EXPECT_EQ(count_live_blocks() - before, live_blocks{});
}

TEST(Balance, FollowsReallocation) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const live_blocks before = count_live_blocks();
    void* data = heap.realloc(nullptr, 10);
    data = heap.realloc(data, 100'000);
    EXPECT_EQ((count_live_blocks() - before).aligned_heap, 1);
    heap.free(data);
    EXPECT_EQ((count_live_blocks() - before).aligned_heap, 0);
}

TEST(Balance, CountsEveryFormOfOperatorNew) {
    struct alignas(256) wide {
        char bytes[256];
    };
    const live_blocks before = count_live_blocks();
    auto array = std::make_unique<int[]>(3);
    auto aligned = std::make_unique<wide>();
    auto aligned_array = std::make_unique<wide[]>(2);
    int* nothrow = new (std::nothrow) int(1);
    EXPECT_EQ((count_live_blocks() - before).operator_new, 4);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned.get()) % 256, 0U);
    array.reset();
    aligned.reset();
    aligned_array.reset();
    delete nothrow;
    EXPECT_EQ((count_live_blocks() - before).operator_new, 0);
}

TEST(Fixture, PassesABalancedTest) {
    inner_fixture fixture;
    const auto array = arr("double 2x3x2");
}

TEST(Fixture, FindsALeakedArray) {
    matrix::array_ptr leaked;
    EXPECT_NONFATAL_FAILURE(
        {
            inner_fixture fixture;
            leaked = arr("double 2x3");
        },
        "left blocks behind: header slots 1, aligned heap 1");
}

TEST(Fixture, FindsALeakedHeaderWithoutData) {
    matrix::array_ptr leaked;
    EXPECT_NONFATAL_FAILURE(
        {
            inner_fixture fixture;
            leaked = arr("double 0x0");
        },
        "header slots 1, aligned heap 0");
}

TEST(Fixture, FindsABlockThatWasThereBeforeAndIsGone) {
    matrix::array_ptr early = arr("double 0x0");
    EXPECT_NONFATAL_FAILURE(
        {
            inner_fixture fixture;
            early.reset();
        },
        "header slots -1");
}

TEST(Fixture, FindsABrokenKeptArray) {
    auto fixture = std::make_unique<inner_fixture>();
    ndArray_tag* const array = fixture->keep(arr("int8"));
    array->flags ^= matrix::flag_numeric;
    EXPECT_NONFATAL_FAILURE(fixture.reset(), "the numeric bit is what the class table says");
}

TEST(Fixture, RefusesToKeepNothing) {
    inner_fixture fixture;
    EXPECT_NONFATAL_FAILURE(fixture.keep(nullptr), "there is no array to keep");
}

TEST(Fixture, DestroysWhatItKeeps) {
    inner_fixture fixture;
    fixture.keep(arr("double 2x3"));
    fixture.keep(arr("cell 1x2", arr("int8"), arr("char", u"a")).release());
}

TEST(Fixture, EndsWhatIsOnTheLists) {
    inner_fixture fixture;
    const test::lists_on lists;
    api::ndCreateDoubleMatrix(2, 3, ndREAL);
    EXPECT_NE(api::ndMalloc(10), nullptr);
}

TEST(Fixture, FindsAContextThatWasLeftOpen) {
    EXPECT_NONFATAL_FAILURE(
        {
            inner_fixture fixture;
            const test::lists_on lists;
            matrix::pushArrayListContext();
        },
        "left contexts of the array list open");
    EXPECT_NONFATAL_FAILURE(
        {
            inner_fixture fixture;
            const test::lists_on lists;
            api::ndMalloc(10);
            matrix::popAllocListContext();
        },
        "left contexts of the alloc list open");
}

TEST(Fixture, FindsABrokenTemporary) {
    const auto broken_by = [](void (*damage)(ndArray_tag*), void (*repair)(ndArray_tag*)) {
        const test::lists_on lists;
        ndArray_tag* const array = api::ndCreateDoubleMatrix(2, 3, ndREAL);
        damage(array);
        const std::string broken = matrix::internal::validate_array_list();
        repair(array);
        api::ndDestroyArray(array);
        EXPECT_EQ(matrix::internal::validate_array_list(), "");
        return broken;
    };
    inner_fixture fixture;
    EXPECT_THAT(broken_by([](ndArray_tag* a) { a->flags ^= matrix::flag_numeric; },
                          [](ndArray_tag* a) { a->flags ^= matrix::flag_numeric; }),
                ::testing::HasSubstr("array 1 on the list: broken rule \"the numeric bit is what"));
    EXPECT_THAT(broken_by([](ndArray_tag* a) { a->scope = ndLOCAL_SCOPE; },
                          [](ndArray_tag* a) { a->scope = ndTEMPORARY_SCOPE; }),
                ::testing::HasSubstr("an array on the list has temporary scope"));
    EXPECT_THAT(broken_by([](ndArray_tag* a) { matrix::internal::add_to_array_list(a); },
                          [](ndArray_tag* a) { matrix::internal::leave_array_list(a); }),
                ::testing::HasSubstr("array list: broken rule \"an array stands on the list once"));
}

TEST(Fixture, FindsABrokenListOfBlocks) {
    inner_fixture fixture;
    const test::lists_on lists;
    void* const block = api::ndMalloc(10);
    matrix::internal::add_to_alloc_list(block);
    EXPECT_EQ(matrix::internal::validate_alloc_list(),
              "alloc list: broken rule \"a block stands on the list once\"");
    matrix::internal::removeFromAllocList(block);
    EXPECT_EQ(matrix::internal::validate_alloc_list(), "");
    api::ndFree(block);
}

TEST(Fixture, FindsABinThatIsOutOfOrder) {
    const auto broken_by = [](auto damage) {
        matrix::cache::setEnabled(true);
        arr("int8 1x40").reset();
        matrix::internal::ArrayCache::bin& bin = matrix::internal::the_cache.bins[1];
        foundation::core::mem::unguard(bin.head, sizeof(ndArray_tag));
        const matrix::internal::ArrayCache::bin before = bin;
        const auto pair = std::bit_cast<std::array<char, sizeof(ndArray_tag)>>(*bin.head);
        damage(bin);
        const std::string broken = matrix::internal::validate_cache();
        bin = before;
        foundation::core::mem::unguard(bin.head, sizeof(ndArray_tag));
        std::memcpy(static_cast<void*>(bin.head), pair.data(), pair.size());
        EXPECT_EQ(matrix::internal::validate_cache(), "");
        matrix::cache::setEnabled(false);
        matrix::cache::clear();
        return broken;
    };
    using bin_type = matrix::internal::ArrayCache::bin;
    inner_fixture fixture;
    const std::pair<std::string, std::string> found[] = {
        {broken_by([](bin_type& bin) { ++bin.count; }), "a bin holds as many pairs as it counts"},
        {broken_by([](bin_type& bin) { bin.count = 0; }), "a bin holds as many pairs as it counts"},
        {broken_by([](bin_type& bin) { bin.max_count = 0; }), "a bin holds at most as many pairs as it may"},
        {broken_by([](bin_type& bin) { bin.head->flags ^= matrix::flag_bin_mask; }),
         "a pair stands in the bin that its flags name"},
        {broken_by([](bin_type& bin) { bin.head->pdata = nullptr; }), "a pair has its block"},
        {broken_by([](bin_type& bin) { bin.head->flags |= matrix::flag_shared_data; }),
         "nobody shares the block of a pair"},
        {broken_by([](bin_type& bin) { bin.head->share_record = std::bit_cast<share_record*>(&bin); }),
         "nobody shares the block of a pair"},
        {broken_by([](bin_type& bin) { bin.head->flags &= ~matrix::flag_inline_dims; }),
         "a pair has no dimension block"},
        {broken_by([](bin_type& bin) { bin.head->dims32 = &bin; }), "a pair has no dimension block"},
        {broken_by([](bin_type& bin) { bin.head->parent = bin.head; }), "a pair has no parent"},
    };
    for (const auto& [broken, rule] : found) EXPECT_EQ(broken, "bin 1: broken rule \"" + rule + "\"");
}

TEST(Fixture, EndsTheLastErrorAndTheModuleMode) {
    {
        inner_fixture fixture;
        matrix::setLastError("some:id", u"text", arr("double").get());
    }
    EXPECT_EQ(std::get<0>(matrix::getLastError()), "");
    matrix::resetLastError();
}

} // namespace
