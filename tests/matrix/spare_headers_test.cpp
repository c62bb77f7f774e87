// Headers that a thread keeps: who gets them again, how many there are, when they go back to the header allocator.
#include "matrix/spare_headers.hpp"

#include "matrix/header_watch.hpp"
#include "matrix/header_words.hpp"
#include "matrix/process_state.hpp"
#include "matrix/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/module_mode.hpp"

#include <nd/access.hpp>
#include <nd/lists.hpp>
#include <nd/module.hpp>
#include <nd/share.hpp>

#include <thread>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::internal::most_spare_headers;
using matrix::internal::the_spare_headers;

std::uint32_t spare() { return the_spare_headers.count; }

array_ptr sharer(const array_ptr& array) { return array_ptr(api::ndCreateSharedDataCopy(array.get())); }

// No pair serves it: its block is larger than the largest bin's.
array_ptr large() { return arr("double 100x100"); }

using SpareHeaders = CacheTest;

struct owner_row {
    const char* name;
    array_ptr (*make)(const array_ptr& source);
};

const owner_row owners[] = {
    {"a sharer", [](const array_ptr& source) { return sharer(source); }},
    {"a large array", [](const array_ptr&) { return large(); }},
    {"a container", [](const array_ptr&) { return arr("cell 1x1", nullptr); }},
    {"an empty array", [](const array_ptr&) { return arr("double 0x3"); }},
};

TEST_F(SpareHeaders, ComeAgainForWhateverNeedsOne) {
    const array_ptr source = arr("double 1x2", {1, 2});
    sharer(source); // makes the record
    for (const owner_row& first : owners) {
        array_ptr array = first.make(source);
        const ndArray_tag* const header = array.get();
        array.reset();
        for (const owner_row& second : owners) {
            SCOPED_TRACE(std::string(second.name) + " after " + first.name);
            const std::uint32_t before = spare();
            ASSERT_GE(before, 1U);
            array = second.make(source);
            EXPECT_EQ(array.get(), header);
            EXPECT_EQ(spare(), before - 1);
            array.reset();
            EXPECT_EQ(spare(), before);
        }
    }
}

// What the short way of sharing leaves out must come to the same as the long one.
TEST_F(SpareHeaders, MakeTheSameSharerAsFreshOnes) {
    for (const char* spec : {"double 1x1", "double 3x4", "complex single 2x2", "int8 1x5", "char 1x3"}) {
        SCOPED_TRACE(spec);
        const array_ptr source = arr(spec);
        source->flags |= matrix::flag_reusable | 3U << matrix::flag_user_shift;
        const array_ptr fresh = matrix::detail::do_shared_copy(source.get()); // the long way
        EXPECT_EQ(source->flags & matrix::flag_reusable, 0U);
        source->flags |= matrix::flag_reusable;
        sharer(source);
        ASSERT_GE(spare(), 1U);
        const std::uint32_t before = spare();
        const array_ptr again = sharer(source);
        EXPECT_EQ(spare(), before - 1) << "not the short way";
        EXPECT_EQ(source->flags & matrix::flag_reusable, 0U);
        EXPECT_EQ(differing_words(again.get(), fresh.get()), "");
        EXPECT_EQ(again->pdata, source->pdata);
        EXPECT_EQ(again->share_record->count.load(), 3U);
    }
}

TEST_F(SpareHeaders, ArentKeptWithoutEnd) {
    const header_watch headers;
    std::vector<array_ptr> arrays(most_spare_headers + 10);
    for (array_ptr& array : arrays) array = arr("cell 1x0");
    arrays.clear();
    EXPECT_EQ(spare(), most_spare_headers);
    ASSERT_EQ(headers.freed_headers().size(), 10U);
    for (const freed_header& header : headers.freed_headers()) EXPECT_EQ(header.class_id, 0x7FFFFFFF);
}

TEST_F(SpareHeaders, GoBackWithTheCache) {
    large();
    ASSERT_EQ(spare(), 1U);
    const live_blocks before = count_live_blocks();
    matrix::cache::clear();
    EXPECT_EQ(spare(), 0U);
    EXPECT_EQ((count_live_blocks() - before).header_slots, -1);
}

TEST_F(SpareHeaders, ArentKeptNorTakenWithTheCacheOff) {
    large();
    ASSERT_EQ(spare(), 1U);
    matrix::cache::setEnabled(false);
    large();
    EXPECT_EQ(spare(), 1U);
    matrix::cache::setEnabled(true);
}

TEST_F(SpareHeaders, GoBackWithTheirThread) {
    const live_blocks before = count_live_blocks();
    std::thread([] {
        large(); // the thread's first use of its cache
        EXPECT_EQ(spare(), 1U);
    }).join();
    EXPECT_EQ((count_live_blocks() - before).header_slots, 0);
}

// In the engine the copy stands on the list before it joins the record.
TEST_F(SpareHeaders, AreListedAsSharersInTheEngine) {
    const array_ptr source = arr("double 1x2", {1, 2});
    sharer(source);
    matrix::internal::test_hooks::set_module_mode(mode_null_results);
    matrix::initModule(matrix::mode_in_engine);
    matrix::cache::setEnabled(true);
    matrix::pushArrayListContext();
    ASSERT_GE(spare(), 1U);
    const ndArray_tag* const copy = api::ndCreateSharedDataCopy(source.get());
    EXPECT_EQ(copy->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
    ASSERT_EQ(matrix::listCurrentArrays().size(), 1U);
    EXPECT_EQ(matrix::listCurrentArrays().front().array, copy);
    EXPECT_EQ(source->share_record->count.load(), 2U);
    matrix::popArrayListContext({}, true);
    EXPECT_EQ(source->share_record->count.load(), 1U);
    matrix::internal::test_hooks::set_module_mode(mode_null_results);
}

} // namespace
} // namespace test
