// Custom deleters: who has one, when it is called, and that nothing it does can stop an array from ending.
#include "matrix/dims32.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <stdexcept>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using ::testing::ElementsAre;
using dims_list = std::vector<std::size_t>;

std::vector<void*> deleted;

void note_and_free(void* block) {
    deleted.push_back(block);
    foundation::core::mem::aligned_heap_instance().free(block);
}

void note_only(void* block) { deleted.push_back(block); }

void note_free_and_throw(void* block) {
    note_and_free(block);
    throw std::runtime_error("from a deleter");
}

void note_free_and_throw_number(void* block) {
    note_and_free(block);
    throw 42;
}

void other(void*) {}

class CustomDeleter : public NdTest {
protected:
    CustomDeleter() { deleted.clear(); }
};

array_ptr with_deleter(void (*fn)(void*)) {
    array_ptr array = arr("double 1x3", {1, 2, 3});
    array->setCustomDeleter(fn);
    return array;
}

TEST_F(CustomDeleter, IsAskedForWithoutMakingARecord) {
    const array_ptr array = arr("double 1x3");
    EXPECT_FALSE(array->hasCustomDeleter());
    EXPECT_FALSE(array->hasSameCustomDeleter(other));
    EXPECT_FALSE(array->hasSameCustomDeleter(nullptr));
    array->nullCustomDeleter();
    EXPECT_EQ(array->share_record, nullptr);
}

TEST_F(CustomDeleter, IsSetComparedAndForgotten) {
    const array_ptr array = arr("double 1x3");
    array->setCustomDeleter(other);
    EXPECT_TRUE(array->hasCustomDeleter());
    EXPECT_TRUE(array->hasSameCustomDeleter(other));
    EXPECT_FALSE(array->hasSameCustomDeleter(note_only));
    EXPECT_FALSE(array->hasSameCustomDeleter(nullptr));
    EXPECT_EQ(array->share_record->count.load(), 1U);
    EXPECT_FALSE(array->flags & matrix::flag_shared_data);
    array->setCustomDeleter(note_only);
    EXPECT_TRUE(array->hasSameCustomDeleter(note_only));
    array->nullCustomDeleter();
    EXPECT_FALSE(array->hasCustomDeleter());
    EXPECT_FALSE(array->hasSameCustomDeleter(nullptr)) << "none stored, so not the same as none asked for";
    EXPECT_NE(array->share_record, nullptr);
    array->setCustomDeleter(nullptr);
    EXPECT_FALSE(array->hasCustomDeleter());
}

TEST_F(CustomDeleter, ReplacesTheFreeOfTheBlock) {
    array_ptr array = with_deleter(note_only);
    void* const block = array->pdata;
    heap_watch heap;
    array.reset();
    EXPECT_THAT(deleted, ElementsAre(block));
    EXPECT_TRUE(heap.freed().empty());
    foundation::core::mem::aligned_heap_instance().free(block);
}

TEST_F(CustomDeleter, ThatWasForgottenIsNotCalled) {
    array_ptr array = with_deleter(note_only);
    array->nullCustomDeleter();
    array.reset();
    EXPECT_TRUE(deleted.empty());
}

TEST_F(CustomDeleter, IsNotCalledWithoutData) {
    array_ptr array = arr("double 0x3");
    array->setCustomDeleter(note_only);
    array.reset();
    EXPECT_TRUE(deleted.empty());
}

TEST_F(CustomDeleter, IsNotCalledForPrivateData) {
    double mine = 1;
    array_ptr array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    array->flags |= matrix::flag_data_private;
    array->pdata = &mine;
    array->setCustomDeleter(note_only);
    array.reset();
    EXPECT_TRUE(deleted.empty());
}

TEST_F(CustomDeleter, IsCalledOnceByTheLastSharer) {
    for (int last = 0; last < 3; ++last) {
        deleted.clear();
        std::vector<array_ptr> sharers;
        sharers.push_back(with_deleter(note_and_free));
        void* const block = sharers[0]->pdata;
        sharers.push_back(matrix::detail::do_shared_copy(sharers[0].get()));
        sharers.push_back(matrix::detail::do_shared_copy(sharers[1].get()));
        for (const array_ptr& sharer : sharers) EXPECT_TRUE(sharer->hasSameCustomDeleter(note_and_free));
        for (int i = 0; i < 3; ++i) {
            if (i != last) sharers[static_cast<std::size_t>(i)].reset();
        }
        EXPECT_TRUE(deleted.empty());
        sharers.clear();
        EXPECT_THAT(deleted, ElementsAre(block));
    }
}

TEST_F(CustomDeleter, IsCalledForElementsOfContainers) {
    array_ptr cell =
        arr("cell 1x2", with_deleter(note_and_free), arr("cell 1x1", with_deleter(note_and_free)));
    cell.reset();
    EXPECT_EQ(deleted.size(), 2U);
}

TEST_F(CustomDeleter, OfACellGetsItsSlots) {
    array_ptr cell = arr("cell 1x2", arr("double", {1}), nullptr);
    void* const slots = cell->pdata;
    cell->setCustomDeleter(note_and_free);
    cell.reset();
    EXPECT_THAT(deleted, ElementsAre(slots));
}

TEST_F(CustomDeleter, IsCalledOnceInEveryRepresentation) {
    std::size_t representations = 0;
    deleted.clear();
    for_each_variation(arr("int16 2x3", {1, 2, 3, 4, 5, 6}), [&](array_ptr& array) {
        ++representations;
        array->setCustomDeleter(note_and_free);
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
    });
    EXPECT_EQ(deleted.size(), representations);
}

using CachedCustomDeleter = CustomDeleter;

TEST_F(CachedCustomDeleter, TakesTheArrayOutOfItsBin) {
    const cache_on cache;
    array_ptr array = arr("double 1x3", {1, 2, 3});
    ASSERT_TRUE(array->flags & matrix::flag_cached_header);
    void* const block = array->pdata;
    array->setCustomDeleter(note_and_free);
    EXPECT_EQ(array->flags & (matrix::flag_cached_header | matrix::flag_bin_mask), 0U);
    array.reset();
    EXPECT_THAT(deleted, ElementsAre(block));
    EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
}

TEST_F(CachedCustomDeleter, SetToNoneLeavesItThere) {
    const cache_on cache;
    array_ptr array = arr("double 1x3", {1, 2, 3});
    array->setCustomDeleter(nullptr);
    EXPECT_TRUE(array->flags & matrix::flag_cached_header);
    array.reset();
    EXPECT_EQ(matrix::cache::CacheInfo().total_count, 1U);
}

// Neither way back to a bin forgets a deleter: not the short one, not the one for a header with more to tear down.
TEST_F(CachedCustomDeleter, SetOnOneSharerIsCalledByTheLongWayToo) {
    const cache_on cache;
    array_ptr setter = arr("double 1x3", {1, 2, 3});
    array_ptr sharer = matrix::detail::do_shared_copy(setter.get());
    matrix::internal::narrowed_dimensions(sharer.get());
    void* const block = setter->pdata;
    setter->setCustomDeleter(note_and_free);
    setter.reset();
    sharer.reset();
    EXPECT_THAT(deleted, ElementsAre(block));
    EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
}

// The deleter belongs to the block: a sharer that came from a bin must not keep the block and forget the deleter.
TEST_F(CachedCustomDeleter, SetOnOneSharerIsCalledWhoeverIsLast) {
    const cache_on cache;
    for (const bool setter_last : {true, false}) {
        deleted.clear();
        array_ptr setter = arr("double 1x3", {1, 2, 3});
        array_ptr sharer = matrix::detail::do_shared_copy(setter.get());
        ASSERT_TRUE(sharer->flags & matrix::flag_cached_header);
        void* const block = setter->pdata;
        setter->setCustomDeleter(note_and_free);
        EXPECT_TRUE(sharer->hasSameCustomDeleter(note_and_free));
        (setter_last ? sharer : setter).reset();
        EXPECT_TRUE(deleted.empty());
        (setter_last ? setter : sharer).reset();
        EXPECT_THAT(deleted, ElementsAre(block))
            << (setter_last ? "the setter" : "the other sharer") << " was last";
        EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
    }
}

TEST_F(CustomDeleter, ComesWithAnotherBlock) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const cache_on cache;
    for (const bool with : {true, false}) {
        deleted.clear();
        array_ptr array = arr("double 1x3", {1, 2, 3});
        array->flags |= matrix::flag_capacity_tracked;
        void* const old = array->pdata;
        void* const block = heap.calloc(3, sizeof(double));
        array->set_pdata_and_deleter(block, with ? note_and_free : nullptr);
        EXPECT_EQ(array->pdata, block);
        EXPECT_EQ(array->flags &
                      (matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked),
                  0U);
        EXPECT_EQ(array->hasCustomDeleter(), with);
        EXPECT_EQ(array->share_record == nullptr, !with) << "none is made for no deleter";
        heap.free(old);
        array.reset();
        EXPECT_EQ(deleted.size(), with ? 1U : 0U);
    }
}

TEST_F(CustomDeleter, GoesWithABlockThatHasNone) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    for (const bool untrusted : {false, true}) {
        array_ptr array = with_deleter(note_only);
        void* const old = array->pdata;
        void* const block = heap.calloc(3, sizeof(double));
        untrusted ? array->set_pdata_untrusted(block, nullptr) : array->set_pdata_and_deleter(block, nullptr);
        EXPECT_FALSE(array->hasCustomDeleter());
        array.reset();
        EXPECT_TRUE(deleted.empty());
        heap.free(old);
    }
}

TEST_F(CustomDeleter, ComesWithABlockFromOutside) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const cache_on cache;
    array_ptr array = arr("double 1x3", {1, 2, 3});
    array->flags |= matrix::flag_capacity_tracked;
    heap_watch watch;
    void* const old = array->pdata;
    void* const block = heap.calloc(3, sizeof(double));
    array->set_pdata_untrusted(block, note_and_free);
    EXPECT_EQ(array->pdata, block);
    EXPECT_EQ(watch.times_freed(old), 0U) << "the old block is the caller's";
    EXPECT_EQ(array->flags &
                  (matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked),
              0U);
    heap.free(old);
    array.reset();
    EXPECT_THAT(deleted, ElementsAre(block));
}

// A deleter is foreign code: it may use the library while the array that it serves is going.
TEST_F(CustomDeleter, MayMakeAndEndArrays) {
    const cache_on cache;
    array_ptr cell = arr("cell 1x3", with_deleter([](void* block) {
                             note_and_free(block);
                             const array_ptr array = arr("double 1x3", {4, 5, 6});
                             const array_ptr copy = matrix::detail::do_shared_copy(array.get());
                             arr("cell 1x1", arr("double")).reset();
                         }),
                         arr("cell 1x1", with_deleter(note_and_free)), arr("double 1x3"));
    cell.reset();
    EXPECT_EQ(deleted.size(), 2U);
}

constexpr const char* channel = "matrix::customDeleter";

TEST_F(CustomDeleter, ThatThrowsIsLoggedAndDropped) {
    for (void (*thrower)(void*) : {note_free_and_throw, note_free_and_throw_number}) {
        deleted.clear();
        header_watch headers;
        const log_capture log(channel, 8);
        EXPECT_NO_THROW(with_deleter(thrower).reset());
        EXPECT_EQ(deleted.size(), 1U);
        EXPECT_THAT(log.texts(),
                    ElementsAre("Now invoking ndarray customer deleter", "Custom deleter threw exception"));
        EXPECT_EQ(headers.freed_headers().size(), 1U) << "the header goes all the same";
        EXPECT_EQ(headers.freed_records(), 1U);
    }
}

TEST_F(CustomDeleter, IsLoggedBeforeAndAfter) {
    const log_capture log(channel, 8);
    with_deleter(note_and_free).reset();
    ASSERT_THAT(log.texts(),
                ElementsAre("Now invoking ndarray customer deleter", "Customer ndarray deleter invoked"));
    for (const log_line& line : log.lines()) {
        EXPECT_EQ(line.channel, channel);
        EXPECT_EQ(line.severity, 8U);
    }
}

TEST_F(CustomDeleter, IsLoggedAtItsSeverityOnly) {
    for (const std::uint32_t mask : {0U, 0x200U, 4U, 16U, ~8U}) {
        const log_capture log(channel, mask);
        with_deleter(note_and_free).reset();
        with_deleter(note_free_and_throw).reset();
        EXPECT_TRUE(log.lines().empty()) << mask;
    }
    EXPECT_EQ(deleted.size(), 10U);
}

TEST_F(CustomDeleter, ThatIsNotCalledIsNotLogged) {
    const log_capture log(channel, 8);
    arr("double 1x3").reset();
    array_ptr empty = arr("double 0x3");
    empty->setCustomDeleter(note_only);
    empty.reset();
    EXPECT_TRUE(log.lines().empty());
}

// Ends in a child process: what escapes a destruction ends the process.
[[noreturn]] void end_without_memory(void (*deleter)(void*), std::size_t wanted_calls) {
    const log_capture log(channel, 8);
    array_ptr array = with_deleter(deleter);
    {
        const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
        array.reset();
    }
    std::_Exit(deleted.size() == wanted_calls ? 0 : 1);
}

// Within the room reserved: it needs no memory.
void count_only(void*) { deleted.push_back(nullptr); }

// A log that can't be written must neither keep the deleter from running nor end the process.
TEST_F(CustomDeleter, RunsWhenThereIsNoMemoryToLogIt) {
    deleted.reserve(4);
    EXPECT_EXIT(end_without_memory(count_only, 1), ::testing::ExitedWithCode(0), "");
}

TEST_F(CustomDeleter, MayThrowWhenThereIsNoMemoryToLogIt) {
    deleted.reserve(4);
    EXPECT_EXIT(end_without_memory(
                    [](void* block) {
                        count_only(block);
                        throw 42;
                    },
                    1),
                ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace test
