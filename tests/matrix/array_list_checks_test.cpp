// What the array list says when it is used against its rules, and how it goes on with checks off.
#include "matrix/array_list.hpp"

#include "matrix/array_lists_fixture.hpp"
#include "matrix/library_context.hpp"
#include "matrix/module_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/death.hpp"

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
using matrix::internal::ArrayList;

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

TEST_F(ArrayLists, AreInOrderWithArraysBelowTheBaseContext) {
    const diagnostics_switched_off off;
    EngineInstance engine;
    const EngineActivation active(&engine);
    ndArray_tag* const array = temporary();
    pop_keeping({array});
    EXPECT_EQ(matrix::internal::validate_array_list(), "");
    pushArrayListContext();
    EXPECT_TRUE(isArrayListContextEmpty());
    EXPECT_EQ(matrix::internal::validate_array_list(), "");
    pop_all();
    api::ndDestroyArray(array);
    EXPECT_TRUE(listed_everywhere().empty());
}

// What stands below every context when the list ends, or has a record and stands nowhere.
TEST_F(ArrayLists, EndTheProcessWhenSomethingIsLeftAtTheirEnd) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto keep_below = [] {
        EngineInstance engine;
        const EngineActivation active(&engine);
        {
            const diagnostics_switched_off off;
            pop_keeping({temporary()});
        }
        engine.close();
    };
    EXPECT_TERMINATE_IN_CHILD(keep_below(), "m_data.empty()");
    const auto lose_an_entry_with_a_record = [] {
        constexpr const char* stacks = "matrix::arraylist_stacks";
        EngineInstance engine;
        const EngineActivation active(&engine);
        foundation::log::set_channel_mask(stacks, foundation::log::severity_debug);
        temporary();
        foundation::log::set_channel_mask(stacks, 0);
        pushArrayListContext();
        matrix::internal::find_context()->array_list.remove(arr("double").get());
        EXPECT_EQ(matrix::internal::validate_array_list(),
                  "array list: broken rule \"an array with a record stands on the list\"");
        engine.close();
    };
    EXPECT_TERMINATE_IN_CHILD(lose_an_entry_with_a_record(), "m_arrayDebug.empty()");
}

// A temporary that no open engine can have. While checks are off it is simply no temporary any more, and so it is where no
// lists are kept.
TEST_F(ArrayLists, EndTheProcessWhenATemporaryHasNoEngineToLeave) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EngineInstance closed;
    closed.close();
    for (EngineInstance* const engine : {static_cast<EngineInstance*>(nullptr), &closed}) {
        const array_ptr array = arr("double", {1});
        const auto become_temporary = [&] { array->scope = ndTEMPORARY_SCOPE; };
        const auto expect_to_become_local = [&] {
            become_temporary();
            EXPECT_NO_TERMINATE(api::ndSetArrayScope(array.get(), ndLOCAL_SCOPE));
            EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        };
        become_temporary();
        const EngineActivation active(engine);
        EXPECT_TERMINATE(api::ndSetArrayScope(array.get(), ndLOCAL_SCOPE), list_gone);
        EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
        EXPECT_TERMINATE_IN_CHILD(api::ndDestroyArray(array.get()), list_gone);
        EXPECT_TERMINATE_IN_CHILD(api::ndDestroyArray(temporary_cell({array.get()})), list_gone);
        {
            const diagnostics_switched_off off;
            expect_to_become_local();
        }
        matrix::internal::the_module.array_lists = false;
        expect_to_become_local();
        matrix::internal::the_module.array_lists = true;
    }
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
