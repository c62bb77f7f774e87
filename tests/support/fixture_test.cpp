// The fixture notices what a test leaves behind, and the sources of memory are counted one by one.
#include "support/fixture.hpp"

#include "matrix/header_allocator.hpp"
#include "support/arr.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/module.hpp>

#include <gtest/gtest-spi.h>

#include <memory>

namespace {

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

TEST(Fixture, EndsTheLastErrorAndTheModuleMode) {
    {
        inner_fixture fixture;
        matrix::setLastError("some:id", u"text", arr("double").get());
    }
    EXPECT_EQ(std::get<0>(matrix::getLastError()), "");
    matrix::resetLastError();
}

} // namespace
