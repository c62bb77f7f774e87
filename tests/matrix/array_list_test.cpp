// The array list: which arrays a context destroys, which it keeps, how it numbers them.
#include "matrix/array_list.hpp"

#include "matrix/array_lists_fixture.hpp"
#include "support/arr.hpp"

#include "matrix/module_state.hpp"

#include <csignal>
#include <cstdlib>
#include <ctime>

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
using matrix::pushArrayListContext;

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

// The scope is the door: an array stands on the list exactly while it is temporary.
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

// Seconds for a context of count arrays of which every second one is kept.
double time_of_keeping_half(std::size_t count) {
    pushArrayListContext();
    const std::vector<ndArray_tag*> made = temporaries(count);
    std::vector<ndArray_tag*> keep;
    for (std::size_t i = 1; i < count; i += 2) keep.push_back(made[i]);
    std::reverse(keep.begin(), keep.end());
    const std::clock_t begin = std::clock();
    pop_keeping(keep);
    const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    EXPECT_EQ(listed_here(), array_pointers(keep.rbegin(), keep.rend()));
    clearArrayListContext(true);
    return seconds;
}

TEST_F(ArrayLists, KeepManyInTimeThatGrowsWithTheirNumber) {
    const double few = time_of_keeping_half(3'000);
    EXPECT_LT(time_of_keeping_half(48'000), 80 * few + 0.02) << "sixteen times as many";
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

// Adds arrays until the debugger's signal; the exit status is how many were added.
int made_in_child = 0;

[[noreturn]] void make_arrays_in_child(
    const char* serial, void (*add)() = [] { temporary(); }) {
    setenv("ND_BREAK_ON_SERIAL", serial, 1);
    std::signal(SIGTRAP, [](int) { std::_Exit(made_in_child); });
    EngineInstance engine;
    const EngineActivation active(&engine);
    for (made_in_child = 0; made_in_child < 30; ++made_in_child) add();
    std::_Exit(99);
}

// The ways in which an array comes on the list.
void claim_and_give_back() {
    static ndArray_tag* const array =
        matrix::create(std::vector<std::size_t>{1, 1}, ndDOUBLE_CLASS, ndREAL).release();
    api::ndSetArrayScope(array, ndLOCAL_SCOPE);
    api::ndSetArrayScope(array, ndTEMPORARY_SCOPE);
}
void add_in_a_context_of_its_own() {
    pushArrayListContext();
    temporary();
    pop_all();
}
void add_in_turn_with_another_engine() {
    static EngineInstance other;
    temporary();
    const EngineActivation active(&other);
    temporary();
}

TEST_F(ArrayLists, BreakAtTheNamedSerial) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(make_arrays_in_child("1"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(make_arrays_in_child("5"), ::testing::ExitedWithCode(4), "");
    EXPECT_EXIT(make_arrays_in_child("17"), ::testing::ExitedWithCode(16), "") << "where the list grows";
    for (const char* never : {"", "0", "31", "none"})
        EXPECT_EXIT(make_arrays_in_child(never), ::testing::ExitedWithCode(99), "") << never;
    EXPECT_EXIT(make_arrays_in_child("5", claim_and_give_back), ::testing::ExitedWithCode(4), "");
    EXPECT_EXIT(make_arrays_in_child("5", add_in_a_context_of_its_own), ::testing::ExitedWithCode(4), "");
    EXPECT_EXIT(make_arrays_in_child("5", add_in_turn_with_another_engine), ::testing::ExitedWithCode(4), "");
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

} // namespace
} // namespace test
