// The alloc list: which blocks a context frees, and its consistency checks.
#include "matrix/alloc_list.hpp"

#include "matrix/heap_watch.hpp"
#include "matrix/lists_fixture.hpp"
#include "support/death.hpp"

#include "matrix/validate.hpp"

#include <algorithm>
#include <random>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::clearAllocListContext;
using matrix::isAllocListContextEmpty;
using matrix::ndEnterNewAllocListContext;
using matrix::ndRestorePreviousAllocListContext;
using matrix::popAllocListContext;
using matrix::pushAllocListContext;
using matrix::internal::AllocList;
using matrix::internal::removeFromAllocList;
using ::testing::ElementsAre;

using AllocLists = ListsTest;

TEST_F(AllocLists, CountContextsWithTheBaseContext) {
    EXPECT_EQ(ndEnterNewAllocListContext(), 2);
    EXPECT_EQ(ndEnterNewAllocListContext(), 3);
    ndRestorePreviousAllocListContext(3);
    EXPECT_EQ(ndEnterNewAllocListContext(), 3);
    ndRestorePreviousAllocListContext(3);
    ndRestorePreviousAllocListContext(2);
    pushAllocListContext();
    EXPECT_EQ(ndEnterNewAllocListContext(), 3);
    popAllocListContext();
    popAllocListContext();
}

TEST_F(AllocLists, FreeWhatAContextLeavesLastFirst) {
    pushAllocListContext();
    void* const first = api::ndMalloc(10);
    void* const second = api::ndCalloc(2, 10);
    void* const third = api::ndRealloc(nullptr, 10);
    heap_watch heap;
    popAllocListContext();
    EXPECT_THAT(heap.freed(), ElementsAre(third, second, first));
}

TEST_F(AllocLists, LeaveOuterContextsAlone) {
    void* const outer = api::ndMalloc(10);
    pushAllocListContext();
    void* const inner = api::ndMalloc(10);
    heap_watch heap;
    popAllocListContext();
    EXPECT_THAT(heap.freed(), ElementsAre(inner));
    EXPECT_FALSE(isAllocListContextEmpty());
    api::ndFree(outer);
    EXPECT_THAT(heap.freed(), ElementsAre(inner, outer));
    EXPECT_TRUE(isAllocListContextEmpty());
}

TEST_F(AllocLists, AreClearedWithoutClosingTheContext) {
    const int context = ndEnterNewAllocListContext();
    void* const block = api::ndMalloc(10);
    heap_watch heap;
    clearAllocListContext();
    EXPECT_THAT(heap.freed(), ElementsAre(block));
    EXPECT_TRUE(isAllocListContextEmpty());
    EXPECT_EQ(ndEnterNewAllocListContext(), context + 1);
    ndRestorePreviousAllocListContext(context + 1);
    ndRestorePreviousAllocListContext(context);
    clearAllocListContext();
    EXPECT_EQ(heap.freed().size(), 1U);
}

TEST_F(AllocLists, AreEmptyWhenOnlyHolesAreLeft) {
    EXPECT_TRUE(isAllocListContextEmpty());
    void* const first = api::ndMalloc(10);
    void* const second = api::ndMalloc(10);
    void* const third = api::ndMalloc(10);
    api::ndFree(second);
    api::ndFree(first);
    EXPECT_FALSE(isAllocListContextEmpty());
    pushAllocListContext();
    EXPECT_TRUE(isAllocListContextEmpty()) << "only the current context counts";
    popAllocListContext();
    api::ndFree(third);
    EXPECT_TRUE(isAllocListContextEmpty());
}

TEST_F(AllocLists, LetGoOfABlockThatIsAdopted) {
    pushAllocListContext();
    void* const adopted = api::ndMalloc(10);
    void* const forgotten = api::ndMalloc(10);
    removeFromAllocList(adopted);
    removeFromAllocList(nullptr);
    heap_watch heap;
    popAllocListContext();
    EXPECT_THAT(heap.freed(), ElementsAre(forgotten));
    api::ndFreeEx(adopted);
}

TEST_F(AllocLists, DontLookForABlockInOuterContexts) {
    void* const outer = api::ndMalloc(10);
    pushAllocListContext();
    void* const inner = api::ndMalloc(10);
    removeFromAllocList(outer);
    popAllocListContext();
    EXPECT_FALSE(isAllocListContextEmpty()) << "the outer context still has it";
    static_cast<void>(inner);
    api::ndFree(outer);
}

// A block of an outer context that is freed leaves its entry behind: that context would free it once more.
TEST_F(AllocLists, KeepTheEntryOfAnOuterContextsBlockThatIsFreed) {
    void* const outer = api::ndMalloc(10);
    pushAllocListContext();
    heap_watch heap;
    api::ndFree(outer);
    EXPECT_EQ(heap.times_freed(outer), 1U);
    popAllocListContext();
    EXPECT_THAT(matrix::internal::find_context()->alloc_list.all_entries(), ElementsAre(outer));
    removeFromAllocList(outer); // what a caller who did this is left with
}

TEST_F(AllocLists, IgnoreBlocksThatArentListed) {
    void* const listed = api::ndMalloc(10);
    void* const stranger = api::ndMallocEx(10);
    removeFromAllocList(stranger);
    EXPECT_FALSE(isAllocListContextEmpty());
    api::ndFree(stranger); // frees it all the same
    api::ndFree(listed);
    EXPECT_TRUE(isAllocListContextEmpty());
}

TEST_F(AllocLists, FreeEverythingWhenTheirEngineCloses) {
    EngineInstance engine;
    std::vector<void*> blocks;
    {
        const EngineActivation active(&engine);
        for (int depth = 0; depth < 3; ++depth) {
            blocks.push_back(api::ndMalloc(10));
            blocks.push_back(api::ndMalloc(20));
            pushAllocListContext();
        }
    }
    heap_watch heap;
    engine.close();
    std::reverse(blocks.begin(), blocks.end());
    EXPECT_EQ(heap.freed(), blocks);
}

constexpr const char* wrong_context = "Alloc list consistency error: Popping incorrect alloc list context";

TEST_F(AllocLists, RefuseToCloseAnotherContext) {
    ASSERT_EQ(ndEnterNewAllocListContext(), 2);
    for (const int wrong : {3, 1, 0, -1, 1000}) {
        EXPECT_TERMINATE(ndRestorePreviousAllocListContext(wrong), wrong_context);
        EXPECT_FALSE(matrix::internal::find_context()->alloc_list.depth() != 2) << wrong;
    }
    EXPECT_NO_TERMINATE(ndRestorePreviousAllocListContext(2));
}

TEST_F(AllocLists, CloseTheCurrentContextWhateverIsNamedWithChecksOff) {
    const diagnostics_switched_off off;
    ndEnterNewAllocListContext();
    api::ndMalloc(10);
    EXPECT_NO_TERMINATE(ndRestorePreviousAllocListContext(77));
    EXPECT_TRUE(isAllocListContextEmpty());
    EXPECT_EQ(ndEnterNewAllocListContext(), 2);
    popAllocListContext();
}

// An engine that has no list yet can't have given the number out. Without an engine nobody asks.
TEST_F(AllocLists, RefuseToCloseAContextOfAnEngineThatHasNone) {
    const auto restore = [](int context) { ndRestorePreviousAllocListContext(context); };
    {
        EngineInstance engine;
        const EngineActivation active(&engine);
        EXPECT_TERMINATE(restore(2), wrong_context);
        EXPECT_NO_TERMINATE(restore(0));
        const diagnostics_switched_off off;
        EXPECT_NO_TERMINATE(restore(2));
        EXPECT_EQ(matrix::internal::find_context(), nullptr) << "closing makes no list";
        engine.close();
        EXPECT_NO_TERMINATE(restore(2));
    }
    const EngineActivation none(nullptr);
    EXPECT_NO_TERMINATE(restore(2));
}

// A list whose base context was closed too.
struct without_context {
    AllocList list;
    without_context() { list.pop_context(); }
};

TEST_F(AllocLists, EndTheProcessWithoutAContext) {
    GTEST_FLAG_SET(death_test_style, "fast");
    without_context closed;
    int block = 0;
    EXPECT_TERMINATE(closed.list.add(&block), "m_hasCurrentContext");
    EXPECT_TERMINATE_IN_CHILD(closed.list.remove(&block), "m_hasCurrentContext");
    EXPECT_TERMINATE_IN_CHILD(closed.list.pop_context(), "m_hasCurrentContext");
    EXPECT_TERMINATE_IN_CHILD(closed.list.clear_context(), "m_hasCurrentContext");
    EXPECT_TERMINATE_IN_CHILD(closed.list.is_context_empty(), "m_hasCurrentContext");
}

TEST_F(AllocLists, DoNothingWithoutAContextWithChecksOff) {
    const diagnostics_switched_off off;
    without_context closed;
    int block = 0;
    closed.list.add(&block);
    closed.list.remove(&block);
    closed.list.clear_context();
    closed.list.pop_context();
    EXPECT_TRUE(closed.list.is_context_empty());
    EXPECT_EQ(closed.list.depth(), 0U);
    closed.list.push_context();
    EXPECT_EQ(closed.list.depth(), 1U);
    EXPECT_TRUE(closed.list.is_context_empty()) << "the block wasn't listed";
}

// ---- random programs against lists of lists

class program {
public:
    explicit program(unsigned seed) : random_(seed) {}

    void run(int steps) {
        for (int i = 0; i < steps; ++i) {
            step();
            ASSERT_EQ(isAllocListContextEmpty(), model_.back().empty()) << "step " << i;
            ASSERT_EQ(listed(), flat()) << "step " << i;
            ASSERT_EQ(matrix::internal::validate_alloc_list(), "") << "step " << i;
        }
        while (model_.size() > 1) end_context(true);
        end_context(false);
    }

private:
    void step() {
        std::vector<void*>& here = model_.back();
        const unsigned choice = random_() % 100;
        if (choice < 40) {
            here.push_back(choice % 2 == 0 ? api::ndMalloc(1 + choice) : api::ndCalloc(1, 1 + choice));
        } else if (choice < 70) {
            if (!here.empty()) api::ndFree(take(here));
        } else if (choice < 80) {
            if (!here.empty()) resize(here[place_in(here)]);
        } else if (choice < 85) {
            if (!here.empty()) adopt(take(here));
        } else if (choice < 92) {
            if (model_.size() < 50) {
                pushAllocListContext();
                model_.emplace_back();
            }
        } else {
            end_context(choice < 98 && model_.size() > 1);
        }
    }

    // A block that moved stands at the end of the list from then on.
    void resize(void* block) {
        void* const now = api::ndRealloc(block, 1 + random_() % 100'000);
        if (now == block) return;
        model_.back().erase(std::find(model_.back().begin(), model_.back().end(), block));
        model_.back().push_back(now);
    }

    static void adopt(void* block) {
        removeFromAllocList(block);
        api::ndFreeEx(block);
    }

    void* take(std::vector<void*>& from) {
        const std::size_t at = place_in(from);
        void* const block = from[at];
        from.erase(from.begin() + static_cast<long>(at));
        return block;
    }

    std::size_t place_in(const std::vector<void*>& from) {
        return random_() % 3 == 0 ? random_() % from.size() : from.size() - 1;
    }

    static std::vector<void*> listed() {
        const auto* const context = matrix::internal::find_context();
        return context == nullptr ? std::vector<void*>() : context->alloc_list.all_entries();
    }

    std::vector<void*> flat() const {
        std::vector<void*> all;
        for (const std::vector<void*>& context : model_)
            all.insert(all.end(), context.begin(), context.end());
        return all;
    }

    // What is left goes from the last to the first.
    void end_context(bool close) {
        heap_watch heap;
        close ? popAllocListContext() : clearAllocListContext();
        EXPECT_EQ(heap.freed(), std::vector<void*>(model_.back().rbegin(), model_.back().rend()));
        model_.back().clear();
        if (close) model_.pop_back();
    }

    std::mt19937 random_;
    std::vector<std::vector<void*>> model_{1};
};

TEST_F(AllocLists, DoWhatListsOfListsDo) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        program(seed).run(400);
        if (HasFatalFailure()) return;
    }
}

} // namespace
} // namespace test
