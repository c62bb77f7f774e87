// The array list: which arrays a context destroys, which it keeps, and what its checks say.
#include "matrix/array_list.hpp"

#include "matrix/header_watch.hpp"
#include "matrix/lists_fixture.hpp"
#include "support/arr.hpp"
#include "support/death.hpp"

#include "matrix/module_state.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <csignal>
#include <cstdlib>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::array_ptr;
using matrix::clearArrayListContext;
using matrix::isArrayListContextEmpty;
using matrix::listCurrentArrays;
using matrix::ndEnterNewArrayListContext;
using matrix::ndExitArrayListContext;
using matrix::popArrayListContext;
using matrix::pushArrayListContext;
using matrix::internal::ArrayList;
using ::testing::ElementsAre;

void pop_all() { popArrayListContext({}, true); }

void pop_keeping(std::vector<ndArray_tag*> keep) {
    popArrayListContext({keep.data(), keep.data() + keep.size()}, true);
}

class ArrayLists : public ListsTest {
protected:
    /// The arrays whose headers ended since the last forget_ended(), in order.
    array_pointers ended() const {
        const auto& headers = headers_.freed_headers();
        array_pointers at;
        for (std::size_t i = forgotten_; i < headers.size(); ++i)
            at.push_back(static_cast<const ndArray_tag*>(headers[i].at));
        return at;
    }
    void forget_ended() { forgotten_ = headers_.freed_headers().size(); }

private:
    header_watch headers_;
    std::size_t forgotten_ = 0;
};

TEST_F(ArrayLists, CountContextsWithTheBaseContext) {
    EXPECT_EQ(ndEnterNewArrayListContext(), 2);
    EXPECT_EQ(ndEnterNewArrayListContext(), 3);
    ndExitArrayListContext(3, nullptr, 0, false);
    pushArrayListContext();
    EXPECT_EQ(ndEnterNewArrayListContext(), 4);
    ndExitArrayListContext(4, nullptr, 0, true);
    pop_all();
    ndExitArrayListContext(2, nullptr, 0, true);
}

TEST_F(ArrayLists, HoldWhatCreatorsReturn) {
    ndArray_tag* const first = temporary();
    EXPECT_EQ(first->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
    ndArray_tag* const second = api::ndCreateDoubleMatrix(200, 300, ndCOMPLEX);
    EXPECT_EQ(listed_here(), (array_pointers{first, second}));
    pushArrayListContext();
    EXPECT_TRUE(isArrayListContextEmpty());
    ndArray_tag* const third = temporary();
    EXPECT_EQ(listed_here(), (array_pointers{third}));
    EXPECT_EQ(listed_everywhere(), (array_pointers{first, second, third}));
    pop_all();
    EXPECT_FALSE(isArrayListContextEmpty());
}

// The scope is the only door: an array stands on the list exactly while it is temporary.
TEST_F(ArrayLists, FollowTheScope) {
    for (const ndVariableScope scope : {ndLOCAL_SCOPE, ndLOCAL_STATIC_SCOPE, ndGLOBAL_SCOPE, ndMEMBER_SCOPE,
                                        ndPERSISTENT_SCOPE, ndPROPERTY_SCOPE}) {
        ndArray_tag* const array = temporary();
        api::ndSetArrayScope(array, ndTEMPORARY_SCOPE);
        EXPECT_EQ(listed_here().size(), 1U) << "it isn't added twice";
        api::ndSetArrayScope(array, scope);
        EXPECT_TRUE(listed_everywhere().empty());
        EXPECT_EQ(array->scope, static_cast<std::uint32_t>(scope));
        api::ndSetArrayScope(array, ndTEMPORARY_SCOPE);
        EXPECT_EQ(listed_here(), (array_pointers{array}));
        api::ndDestroyArray(array);
        EXPECT_TRUE(isArrayListContextEmpty());
    }
}

TEST_F(ArrayLists, LetGoInAnyOrder) {
    const std::vector<std::vector<std::size_t>> orders = {
        {0, 1, 2, 3}, {3, 2, 1, 0}, {1, 2, 0, 3}, {2, 3, 0, 1}, {1, 0, 3, 2}, {3, 0, 2, 1},
    };
    for (const auto& order : orders) {
        const std::vector<ndArray_tag*> made = temporaries(4);
        array_pointers left(made.begin(), made.end());
        for (const std::size_t i : order) {
            api::ndDestroyArray(made[i]);
            left.erase(std::find(left.begin(), left.end(), made[i]));
            EXPECT_EQ(listed_here(), left);
        }
    }
}

TEST_F(ArrayLists, DestroyOrphansLastFirst) {
    pushArrayListContext();
    const std::vector<ndArray_tag*> made = temporaries(40);
    api::ndDestroyArray(made[20]);
    forget_ended();
    pop_all();
    array_pointers expected(made.rbegin(), made.rend());
    expected.erase(expected.begin() + 19);
    EXPECT_EQ(ended(), expected);
}

TEST_F(ArrayLists, AreClearedWithoutClosingTheContext) {
    temporary();
    const int context = ndEnterNewArrayListContext();
    temporary();
    temporary();
    clearArrayListContext(false);
    EXPECT_TRUE(isArrayListContextEmpty());
    EXPECT_EQ(ndEnterNewArrayListContext(), context + 1);
    ndExitArrayListContext(context + 1, nullptr, 0, false);
    ndExitArrayListContext(context, nullptr, 0, false);
    EXPECT_EQ(listed_here().size(), 1U);
}

TEST_F(ArrayLists, DoNothingForAnEmptyContext) {
    ndArray_tag* const array = temporary();
    pushArrayListContext();
    forget_ended();
    pop_all();
    EXPECT_TRUE(ended().empty());
    EXPECT_EQ(listed_here(), (array_pointers{array}));
}

// ---- what is kept

struct keep_row {
    const char* name;
    std::vector<int> keep; ///< by number; -1 a null, 9 an array of the outer context
    std::vector<int> kept;
};

TEST_F(ArrayLists, MoveKeptArraysToTheOuterContextInOrder) {
    const keep_row rows[] = {
        {"nothing", {}, {}},
        {"nulls only", {-1, -1}, {}},
        {"the first", {0}, {0}},
        {"the last", {4}, {4}},
        {"in another order", {4, 0, 2}, {0, 2, 4}},
        {"twice", {3, 3}, {3}},
        {"all", {0, 1, 2, 3, 4}, {0, 1, 2, 3, 4}},
        {"with nulls and strangers", {-1, 1, 9, -1, 3}, {1, 3}},
    };
    for (const keep_row& row : rows) {
        SCOPED_TRACE(row.name);
        const int outermost = ndEnterNewArrayListContext();
        ndArray_tag* const outer = temporary();
        const int context = ndEnterNewArrayListContext();
        const std::vector<ndArray_tag*> made = temporaries(5);
        std::vector<ndArray_tag*> keep;
        for (const int i : row.keep)
            keep.push_back(i < 0 ? nullptr : i == 9 ? outer : made[static_cast<std::size_t>(i)]);
        forget_ended();
        ndExitArrayListContext(context, keep.data(), static_cast<int>(keep.size()), false);
        array_pointers left{outer}, gone(made.rbegin(), made.rend());
        for (const int i : row.kept) {
            left.push_back(made[static_cast<std::size_t>(i)]);
            gone.erase(std::find(gone.begin(), gone.end(), made[static_cast<std::size_t>(i)]));
        }
        EXPECT_EQ(listed_here(), left);
        EXPECT_EQ(ended(), gone);
        for (const ndArray_tag* array : left)
            EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
        // An array that was kept is an orphan of the outer context unless it is claimed.
        ndExitArrayListContext(outermost, nullptr, 0, false);
        EXPECT_EQ(ended().size(), 6U);
    }
}

TEST_F(ArrayLists, KeepPastHoles) {
    pushArrayListContext();
    const std::vector<ndArray_tag*> made = temporaries(6);
    for (const std::size_t i : {0U, 2U, 3U}) api::ndDestroyArray(made[i]);
    pop_keeping({made[4], made[1]});
    EXPECT_EQ(listed_here(), (array_pointers{made[1], made[4]}));
    api::ndDestroyArray(made[1]);
    EXPECT_EQ(listed_here(), (array_pointers{made[4]}));
}

TEST_F(ArrayLists, TakeANegativeNumberOfKeptArraysForNone) {
    const int context = ndEnterNewArrayListContext();
    ndArray_tag* keep = temporary();
    ndExitArrayListContext(context, &keep, -1, true);
    EXPECT_TRUE(listed_everywhere().empty());
}

TEST_F(ArrayLists, KeepThroughManyContexts) {
    constexpr int depth = 50;
    for (int i = 0; i < depth; ++i) {
        pushArrayListContext();
        temporaries(3);
    }
    ndArray_tag* const kept = temporary(7);
    for (int i = 0; i < depth; ++i) pop_keeping({kept});
    EXPECT_EQ(listed_everywhere(), (array_pointers{kept}));
    EXPECT_EQ(api::ndGetScalar(kept), 7);
}

// ---- orphans that others hold on to, and what their ends set off

TEST_F(ArrayLists, DestroyAnOrphanWhoeverElseClaimsIt) {
    pushArrayListContext();
    ndArray_tag* const owned = temporary();
    for (int i = 1; i < 5; ++i) intrusive_ptr_add_ref(owned);
    ASSERT_EQ(owned->ref_count, 5U);
    ndArray_tag* const referred = temporary();
    referred->internal_ref_count = 3;
    ndArray_tag* const reusable = temporary();
    reusable->flags |= matrix::flag_reusable;
    ndArray_tag* const shared = api::ndCreateDoubleMatrix(10, 10, ndREAL);
    const array_ptr sharer = matrix::detail::do_shared_copy(shared);
    forget_ended();
    pop_all();
    EXPECT_EQ(ended(), (array_pointers{shared, reusable, referred, owned}));
    EXPECT_NE(sharer->pdata, nullptr) << "its block lives as long as somebody shares it";
}

ndArray_tag* temporary_cell(std::initializer_list<ndArray_tag*> elements) {
    array_ptr cell = matrix::create_cell(std::vector<std::size_t>{1, elements.size()});
    std::copy(elements.begin(), elements.end(), static_cast<ndArray_tag**>(cell->pdata));
    api::ndSetArrayScope(cell.get(), ndTEMPORARY_SCOPE);
    return cell.release();
}

// Elements that were never claimed stand on the list too: they end with the cell and leave it then.
TEST_F(ArrayLists, DestroyTemporaryElementsOnce) {
    for (const bool close : {true, false}) {
        pushArrayListContext();
        ndArray_tag* const other = temporary();
        ndArray_tag* const inner = temporary_cell({temporary(), nullptr, temporary()});
        temporary_cell({inner, temporary()});
        temporary();
        forget_ended();
        close ? pop_all() : clearArrayListContext(true);
        EXPECT_EQ(ended().size(), 7U);
        EXPECT_EQ(ended().back(), other);
        if (!close) pop_all();
    }
    EXPECT_TRUE(listed_everywhere().empty());
}

// What a deleter does while its array dies with the context.
std::vector<ndArray_tag*> victims;
void (*deleter_work)();

void work_and_free(void* block) {
    foundation::core::mem::aligned_heap_instance().free(block);
    deleter_work();
}

void add_array_with_deleter() {
    ndArray_tag* const array = api::ndCreateDoubleMatrix(3, 3, ndREAL);
    array->setCustomDeleter(work_and_free);
}

struct callback_row {
    const char* name;
    void (*work)();
    std::size_t ended;
};

const callback_row callbacks[] = {
    {"destroys older temporaries",
     [] {
         for (ndArray_tag* victim : std::exchange(victims, {})) api::ndDestroyArray(victim);
     },
     8},
    {"destroys the oldest",
     [] {
         if (!victims.empty()) api::ndDestroyArray(victims.front());
         victims.clear();
     },
     8},
    {"claims one",
     [] {
         if (!victims.empty()) api::ndSetArrayScope(victims[1], ndLOCAL_SCOPE);
     },
     7},
    {"makes temporaries",
     [] {
         if (!victims.empty()) temporaries(30);
         victims.clear();
     },
     38},
    {"makes temporaries with a deleter",
     [] {
         if (!victims.empty()) add_array_with_deleter();
         victims.clear();
     },
     9},
    {"opens and closes a context",
     [] {
         pushArrayListContext();
         temporaries(2);
         pop_all();
     },
     12},
    {"clears the context", [] { clearArrayListContext(true); }, 8},
    {"fills the list and empties it",
     [] {
         for (ndArray_tag* array : temporaries(40)) api::ndDestroyArray(array);
     },
     88},
};

// Two arrays with deleters among six others.
void make_context_with_deleters() {
    victims = temporaries(3);
    add_array_with_deleter();
    temporary();
    add_array_with_deleter();
    temporaries(2);
}

TEST_F(ArrayLists, StandWhatDeletersOfOrphansDo) {
    for (const callback_row& row : callbacks) {
        for (const bool close : {true, false}) {
            SCOPED_TRACE(row.name);
            ndArray_tag* const outer = temporary();
            pushArrayListContext();
            make_context_with_deleters();
            ndArray_tag* const claimed = victims[1];
            deleter_work = row.work;
            forget_ended();
            close ? pop_all() : clearArrayListContext(true);
            EXPECT_EQ(ended().size(), row.ended);
            if (row.ended == 7) {
                EXPECT_EQ(claimed->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
                api::ndDestroyArray(claimed);
            }
            if (!close) {
                EXPECT_TRUE(isArrayListContextEmpty());
                pop_all();
            }
            EXPECT_EQ(listed_everywhere(), (array_pointers{outer}));
            api::ndDestroyArray(outer);
        }
    }
}

// The engine's store has forgotten the list by then: nothing can be listed any more, but what dies early still leaves it.
TEST_F(ArrayLists, StandWhatDeletersDoWhileTheirEngineCloses) {
    for (const callback_row& row : callbacks) {
        SCOPED_TRACE(row.name);
        victims.clear();
        EngineInstance engine;
        std::vector<ndArray_tag*> made_late;
        ndArray_tag* claimed = nullptr;
        {
            const EngineActivation active(&engine);
            temporary();
            pushArrayListContext();
            make_context_with_deleters();
            claimed = victims[1];
        }
        const bool makes_arrays = row.ended > 8;
        deleter_work = makes_arrays ? [] {
            ndArray_tag* const array = temporary();
            EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
            EXPECT_EQ(ndEnterNewArrayListContext(), 0);
            EXPECT_EQ(api::ndMalloc(0), nullptr);
            api::ndFree(api::ndMalloc(10));
            api::ndDestroyArray(array);
        } : row.work;
        forget_ended();
        engine.close();
        EXPECT_EQ(ended().size(), makes_arrays ? 11U : row.ended + 1);
        if (row.ended == 7) api::ndDestroyArray(claimed);
    }
}

TEST_F(ArrayLists, EndElementsOfOrphansOnceWhenTheirEngineCloses) {
    EngineInstance engine;
    {
        const EngineActivation active(&engine);
        temporary();
        pushArrayListContext();
        ndArray_tag* const inner = temporary_cell({temporary()});
        temporary_cell({inner, temporary()});
    }
    forget_ended();
    engine.close();
    EXPECT_EQ(ended().size(), 5U);
}

// A context of the engine is no longer found while it goes down, and none is made in its place.
TEST_F(ArrayLists, AreGoneWhileTheirEngineCloses) {
    static bool found;
    found = true;
    EngineInstance engine;
    {
        const EngineActivation active(&engine);
        api::ndMalloc(10);
        api::ndCreateDoubleMatrix(2, 2, ndREAL)->setCustomDeleter([](void* block) {
            api::ndFree(block); // looks for a list as well
            found = matrix::internal::find_or_make_context() != nullptr;
        });
    }
    engine.close();
    EXPECT_FALSE(found);
}

// ---- serials

TEST_F(ArrayLists, NumberWhatIsAdded) {
    const std::vector<ndArray_tag*> made = temporaries(3);
    api::ndDestroyArray(made[1]);
    api::ndSetArrayScope(made[0], ndLOCAL_SCOPE);
    api::ndSetArrayScope(made[0], ndTEMPORARY_SCOPE);
    const auto entries = listCurrentArrays();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].array, made[2]);
    EXPECT_EQ(entries[0].serial, 3U);
    EXPECT_EQ(entries[1].array, made[0]);
    EXPECT_EQ(entries[1].serial, 4U) << "each add counts";
    pushArrayListContext();
    ndArray_tag* const inner = temporary();
    EXPECT_EQ(listCurrentArrays()[0].serial, 5U) << "contexts don't begin anew";
    pop_keeping({inner});
    EXPECT_EQ(listCurrentArrays().back().serial, 5U) << "a kept array keeps its number";
    EngineInstance engine;
    const EngineActivation active(&engine);
    temporary();
    EXPECT_EQ(listCurrentArrays()[0].serial, 1U) << "each engine counts for itself";
}

// Makes arrays until the debugger's signal; the exit status is how many were made.
int made_in_child = 0;

[[noreturn]] void make_arrays_in_child(const char* serial) {
    setenv("ND_BREAK_ON_SERIAL", serial, 1);
    std::signal(SIGTRAP, [](int) { std::_Exit(made_in_child); });
    EngineInstance engine;
    const EngineActivation active(&engine);
    for (made_in_child = 0; made_in_child < 30; ++made_in_child) temporary();
    std::_Exit(99);
}

TEST_F(ArrayLists, BreakAtTheNamedSerial) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(make_arrays_in_child("1"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(make_arrays_in_child("5"), ::testing::ExitedWithCode(4), "");
    EXPECT_EXIT(make_arrays_in_child("17"), ::testing::ExitedWithCode(16), "") << "where the list grows";
    for (const char* never : {"", "0", "31", "none"})
        EXPECT_EXIT(make_arrays_in_child(never), ::testing::ExitedWithCode(99), "") << never;
    EXPECT_EXIT(
        {
            setenv("ND_BREAK_ON_SERIAL", "2", 1);
            EngineInstance engine;
            const EngineActivation active(&engine);
            temporaries(2);
        },
        ::testing::KilledBySignal(SIGTRAP), "");
}

// ---- no list

TEST_F(ArrayLists, AreNotKeptWithoutTheFacilityOrAnEngine) {
    const auto work = [] {
        array_ptr array(temporary());
        EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        api::ndSetArrayScope(array.get(), ndTEMPORARY_SCOPE);
        EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        api::ndSetArrayScope(array.get(), ndGLOBAL_SCOPE);
        api::ndSetArrayScope(array.get(), ndTEMPORARY_SCOPE);
        EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        EXPECT_EQ(ndEnterNewArrayListContext(), 0);
        ndArray_tag* keep = array.get();
        ndExitArrayListContext(7, &keep, 1, false);
        pushArrayListContext();
        pop_keeping({keep});
        clearArrayListContext(false);
        EXPECT_TRUE(isArrayListContextEmpty());
        EXPECT_TRUE(listCurrentArrays().empty());
    };
    {
        const EngineActivation none(nullptr);
        work();
    }
    {
        EngineInstance closed;
        closed.close();
        const EngineActivation active(&closed);
        work();
    }
    matrix::internal::the_module.array_lists = false;
    work();
    matrix::internal::the_module.array_lists = true;
}

TEST_F(ArrayLists, AreMadeByWhatAdds) {
    struct making_row {
        const char* name;
        void (*call)();
        bool makes;
    };
    const making_row rows[] = {
        {"a creator", [] { temporary(); }, true},
        {"ndEnterNewArrayListContext", [] { EXPECT_EQ(ndEnterNewArrayListContext(), 2); }, true},
        {"pushArrayListContext", [] { pushArrayListContext(); }, true},
        {"popArrayListContext", [] { pop_all(); }, false},
        {"ndExitArrayListContext", [] { ndExitArrayListContext(2, nullptr, 0, false); }, false},
        {"clearArrayListContext", [] { clearArrayListContext(false); }, false},
        {"isArrayListContextEmpty", [] { EXPECT_TRUE(isArrayListContextEmpty()); }, false},
        {"listCurrentArrays", [] { EXPECT_TRUE(listCurrentArrays().empty()); }, false},
    };
    for (const making_row& row : rows) {
        EngineInstance engine;
        const EngineActivation active(&engine);
        row.call();
        EXPECT_EQ(matrix::internal::find_context() != nullptr, row.makes) << row.name;
    }
}

// ---- checks

constexpr const char* no_context = "m_hasCurrentContext";
constexpr const char* no_prior = "No prior array list context into which to fold ndArrays";
constexpr const char* wrong_context = "Array list consistency error: Popping incorrect array list context";
constexpr const char* list_gone = "matrix::internal::removeFromArrayList(pa)";

TEST_F(ArrayLists, RefuseToCloseAnotherContext) {
    ASSERT_EQ(ndEnterNewArrayListContext(), 2);
    ndArray_tag* const array = temporary();
    for (const int wrong : {3, 1, 0, -1, 1000}) {
        EXPECT_TERMINATE(ndExitArrayListContext(wrong, nullptr, 0, true), wrong_context);
        EXPECT_EQ(listed_here(), (array_pointers{array})) << wrong;
    }
    {
        const diagnostics_switched_off off;
        EXPECT_NO_TERMINATE(ndExitArrayListContext(77, nullptr, 0, true));
    }
    EXPECT_TRUE(listed_everywhere().empty());
    EXPECT_EQ(ndEnterNewArrayListContext(), 2);
    pop_all();
}

struct list_without_context {
    ArrayList list;
    list_without_context() { list.pop_context({}, true); }
};

TEST_F(ArrayLists, EndTheProcessWithoutAContext) {
    GTEST_FLAG_SET(death_test_style, "fast");
    list_without_context closed;
    const array_ptr array = arr("double", {1});
    EXPECT_FALSE(closed.list.add_at_once(array.get()));
    EXPECT_FALSE(closed.list.remove_at_once(array.get()));
    EXPECT_TERMINATE(closed.list.add(array.get()), no_context);
    EXPECT_TERMINATE_IN_CHILD(closed.list.pop_context({}, true), no_context);
    EXPECT_TERMINATE_IN_CHILD(closed.list.clear_context(true), no_context);
    EXPECT_TERMINATE_IN_CHILD(closed.list.is_context_empty(), no_context);
}

TEST_F(ArrayLists, ListNothingWithoutAContextWithChecksOff) {
    const diagnostics_switched_off off;
    pop_all();
    ndArray_tag* const array = temporary();
    EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
    EXPECT_TRUE(isArrayListContextEmpty());
    EXPECT_TRUE(listCurrentArrays().empty());
    clearArrayListContext(false);
    pop_all();
    list_without_context closed;
    closed.list.remove(array);
    api::ndDestroyArray(array);
    EXPECT_EQ(ndEnterNewArrayListContext(), 1);
}

TEST_F(ArrayLists, RefuseToKeepBelowTheBaseContext) {
    GTEST_FLAG_SET(death_test_style, "fast");
    ndArray_tag* const array = temporary();
    EXPECT_TERMINATE_IN_CHILD(pop_keeping({array}), no_prior);
    ndArray_tag* nothing = nullptr;
    EXPECT_TERMINATE_IN_CHILD(ndExitArrayListContext(1, &nothing, 1, true), no_prior);
}

TEST_F(ArrayLists, KeepBelowTheBaseContextWithChecksOff) {
    const diagnostics_switched_off off;
    const std::vector<ndArray_tag*> made = temporaries(3);
    forget_ended();
    pop_keeping({made[1]});
    EXPECT_EQ(ended(), (array_pointers{made[2], made[0]}));
    EXPECT_EQ(api::ndGetScalar(made[1]), 1);
    api::ndDestroyArray(made[1]);
    pushArrayListContext();
    EXPECT_TRUE(isArrayListContextEmpty()) << "a new base context";
}

// A temporary that no engine can have. While checks are off it is simply no temporary any more.
TEST_F(ArrayLists, EndTheProcessWhenATemporaryHasNoEngineToLeave) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const array_ptr array = arr("double", {1});
    array->scope = ndTEMPORARY_SCOPE;
    const EngineActivation none(nullptr);
    EXPECT_TERMINATE(api::ndSetArrayScope(array.get(), ndLOCAL_SCOPE), list_gone);
    EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
    EXPECT_TERMINATE_IN_CHILD(api::ndDestroyArray(array.get()), list_gone);
    EXPECT_TERMINATE_IN_CHILD(api::ndDestroyArray(temporary_cell({array.get()})), list_gone);
    const diagnostics_switched_off off;
    EXPECT_NO_TERMINATE(api::ndSetArrayScope(array.get(), ndLOCAL_SCOPE));
    EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
}

TEST_F(ArrayLists, LetATemporaryGoThatNoListOfTheEngineHas) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    const array_ptr array = arr("double", {1});
    array->scope = ndTEMPORARY_SCOPE;
    EXPECT_NO_TERMINATE(api::ndSetArrayScope(array.get(), ndLOCAL_SCOPE));
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
}

// Ending an array of an outer context: without the stack channel nobody notices, and the outer context loses its last entry.
TEST_F(ArrayLists, LoseTheOuterContextsLastEntryToAStranger) {
    const std::vector<ndArray_tag*> outer = temporaries(2);
    pushArrayListContext();
    api::ndSetArrayScope(outer[1], ndLOCAL_SCOPE); // the last one itself: as it should be
    EXPECT_EQ(listed_everywhere(), (array_pointers{outer[0]}));
    const array_ptr stranger = arr("double", {1});
    ArrayList& list = matrix::internal::find_context()->array_list;
    list.remove(stranger.get());
    EXPECT_EQ(listed_everywhere(), (array_pointers{outer[0]})) << "a search from the hint changes nothing";
    pop_all();
    pushArrayListContext();
    const std::vector<ndArray_tag*> inner = temporaries(3);
    list.remove(stranger.get());
    EXPECT_EQ(listed_everywhere(), (array_pointers{outer[0], inner[0], inner[1], inner[2]}))
        << "a hole is lost instead";
    pop_all();
    api::ndSetArrayScope(outer[0], ndLOCAL_SCOPE);
    ndArray_tag* const last = temporary();
    pushArrayListContext();
    list.remove(stranger.get());
    EXPECT_TRUE(listed_everywhere().empty());
    pop_all();
    list.remove(stranger.get()); // at the bottom of the list there is nothing to lose
    last->scope = ndLOCAL_SCOPE;
    for (ndArray_tag* array : {outer[0], outer[1], last}) api::ndDestroyArray(array);
}

} // namespace
} // namespace test
