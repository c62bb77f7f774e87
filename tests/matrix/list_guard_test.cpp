// The guard around external code: both lists and the error mode are as before, whatever happened inside.
#include "matrix/heap_watch.hpp"
#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"

#include "matrix/module_state.hpp"

#include <foundation/usm/usm.hpp>

#include <stdexcept>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::ErrorMode;
using matrix::getErrorMode;
using guard = matrix::arraylist_alloclist_errormode_guard;

using ListGuard = ListsTest;

std::size_t array_depth() { return matrix::internal::find_context()->array_list.depth(); }
std::size_t alloc_depth() { return matrix::internal::find_context()->alloc_list.depth(); }

TEST_F(ListGuard, OpensContextsAndSetsTheErrorMode) {
    matrix::setErrorMode(ErrorMode{4});
    {
        const guard scope(ErrorMode{0});
        EXPECT_EQ(getErrorMode(), ErrorMode{0});
        EXPECT_EQ(array_depth(), 2U);
        EXPECT_EQ(alloc_depth(), 2U);
        const guard inner(ErrorMode{3});
        EXPECT_EQ(getErrorMode(), ErrorMode{3});
        EXPECT_EQ(array_depth(), 3U);
        matrix::setErrorMode(ErrorMode{9});
    }
    EXPECT_EQ(getErrorMode(), ErrorMode{4});
    EXPECT_EQ(array_depth(), 1U);
    EXPECT_EQ(alloc_depth(), 1U);
}

TEST_F(ListGuard, EndsWhatTheCodeForgot) {
    ndArray_tag* const outer = temporary();
    void* const outer_block = api::ndMalloc(10);
    heap_watch heap;
    void* block = nullptr;
    {
        const guard scope(ErrorMode{0});
        temporaries(30);
        block = api::ndMalloc(10);
    }
    EXPECT_EQ(heap.times_freed(block), 1U);
    EXPECT_EQ(heap.times_freed(outer_block), 0U);
    EXPECT_EQ(listed_everywhere(), (array_pointers{outer}));
    api::ndFree(outer_block);
}

// Deleters that run because the code forgot an array are none of its doing: errors meet them as they meet the caller.
TEST_F(ListGuard, EndsArraysUnderTheOuterErrorMode) {
    static ErrorMode seen;
    seen = ErrorMode{-1};
    matrix::setErrorMode(ErrorMode{4});
    {
        const guard scope(ErrorMode{0});
        api::ndCreateDoubleMatrix(2, 2, ndREAL)->setCustomDeleter([](void* block) {
            seen = getErrorMode();
            api::ndFreeEx(block);
        });
    }
    EXPECT_EQ(seen, ErrorMode{4});
}

// An array's deleter may use blocks of the same context, and free some.
TEST_F(ListGuard, EndsArraysBeforeBlocks) {
    heap_watch heap;
    void *block = nullptr, *data = nullptr;
    {
        const guard scope(ErrorMode{0});
        block = api::ndMalloc(10);
        data = api::ndCreateDoubleMatrix(2, 2, ndREAL)->pdata;
    }
    EXPECT_EQ(heap.freed(), (std::vector<void*>{data, block}));
}

TEST_F(ListGuard, KeepsArraysForTheOuterContext) {
    std::vector<ndArray_tag*> made;
    {
        guard scope(ErrorMode{0});
        made = temporaries(10);
        for (const std::size_t i : {8U, 1U, 3U, 5U, 7U}) scope.keep(made[i]);
        scope.keep(nullptr);
    }
    EXPECT_EQ(listed_here(), (array_pointers{made[1], made[3], made[5], made[7], made[8]}));
    EXPECT_EQ(made[1]->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
    EXPECT_EQ(api::ndGetScalar(made[5]), 5);
}

// Orphans are told of, but not when the code left by an exception: it had no chance to end them.
TEST_F(ListGuard, IsQuietWhileAnExceptionIsInFlight) {
    const log_capture log("matrix::arraylist", foundation::log::severity_debug);
    matrix::setErrorMode(ErrorMode{4});
    ndArray_tag* kept = nullptr;
    try {
        guard scope(ErrorMode{0});
        temporary();
        kept = temporary(3);
        scope.keep(kept);
        api::ndMalloc(10);
        throw std::runtime_error("from external code");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(getErrorMode(), ErrorMode{4});
    EXPECT_EQ(listed_everywhere(), (array_pointers{kept}));
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
    {
        const guard scope(ErrorMode{0});
        temporary();
    }
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ListGuard, EndsContextsThatWereOpenedInsideAndClosed) {
    const guard scope(ErrorMode{0});
    matrix::pushArrayListContext();
    matrix::pushAllocListContext();
    temporary();
    api::ndMalloc(10);
    matrix::popArrayListContext({}, true);
    matrix::popAllocListContext();
    EXPECT_EQ(array_depth(), 2U);
}

TEST_F(ListGuard, MakesTheRecordOfAnEngineThatHasNone) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    {
        const guard scope(ErrorMode{7});
        EXPECT_EQ(getErrorMode(), ErrorMode{7});
        EXPECT_EQ(array_depth(), 2U);
    }
    EXPECT_EQ(getErrorMode(), ErrorMode{1});
    EXPECT_EQ(array_depth(), 1U);
}

TEST_F(ListGuard, DoesNothingUnlessBothListsAreOn) {
    using matrix::internal::the_module;
    for (const auto& [arrays, allocs] : {std::pair{false, true}, {true, false}, {false, false}}) {
        EngineInstance engine;
        const EngineActivation active(&engine);
        matrix::setErrorMode(ErrorMode{4});
        the_module.array_lists = arrays;
        the_module.alloc_lists = allocs;
        {
            guard scope(ErrorMode{0});
            scope.keep(nullptr);
            EXPECT_EQ(getErrorMode(), ErrorMode{4});
            EXPECT_EQ(array_depth(), 1U);
            EXPECT_EQ(alloc_depth(), 1U);
            the_module.array_lists = the_module.alloc_lists = true; // what it hasn't opened it doesn't close
        }
        EXPECT_EQ(getErrorMode(), ErrorMode{4});
        EXPECT_EQ(array_depth(), 1U);
    }
}

TEST_F(ListGuard, ChangesTheProcesssErrorModeWithoutAnEngine) {
    const EngineActivation none(nullptr);
    const ErrorMode before = getErrorMode();
    {
        const guard scope(ErrorMode{6});
        EXPECT_EQ(getErrorMode(), ErrorMode{6});
    }
    EXPECT_EQ(getErrorMode(), before);
}

} // namespace
} // namespace test
