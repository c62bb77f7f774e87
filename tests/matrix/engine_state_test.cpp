// What the library keeps for each engine: the error mode and the last error. Engines don't see each other's; without an engine each
// thread has an error mode, and the process a last error.
#include "matrix/library_context.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <foundation/usm/usm.hpp>
#include <nd/access.hpp>
#include <nd/module.hpp>

#include <new>
#include <sstream>
#include <thread>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::ErrorMode;
using matrix::getErrorMode;
using matrix::setErrorMode;
using matrix::engine_access::getCurrentErrorModePtr;

constexpr ErrorMode start{1};

class EngineState : public NdTest {
protected:
    // The process's own values outlive engines.
    ~EngineState() override {
        const EngineActivation none(nullptr);
        setErrorMode(start);
        matrix::resetLastError();
    }
};
using ErrorModes = EngineState;
using LastError = EngineState;

TEST_F(ErrorModes, StartAtOne) {
    EXPECT_EQ(getErrorMode(), start);
    EngineInstance engine;
    const EngineActivation active(&engine);
    EXPECT_EQ(getErrorMode(), start);
}

TEST_F(ErrorModes, AreReadAndWritten) {
    for (const int value : {0, 1, 2, -1, 77, 0x7FFFFFFF}) {
        setErrorMode(ErrorMode{value});
        EXPECT_EQ(getErrorMode(), ErrorMode{value});
    }
}

// They don't need the list facilities: the context is made for them.
TEST_F(ErrorModes, MakeTheContextTheyLiveIn) {
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
    EXPECT_EQ(getErrorMode(), start);
    ASSERT_NE(matrix::internal::find_context(), nullptr);
    EXPECT_EQ(getCurrentErrorModePtr(), &matrix::internal::find_context()->error_mode);
    EngineInstance engine;
    const EngineActivation active(&engine);
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
    setErrorMode(ErrorMode{5});
    ASSERT_NE(matrix::internal::find_context(), nullptr);
    EXPECT_EQ(matrix::internal::find_context()->error_mode, ErrorMode{5});
}

TEST_F(ErrorModes, AreWrittenThroughTheirAddress) {
    ErrorMode* const word = getCurrentErrorModePtr();
    EXPECT_EQ(getCurrentErrorModePtr(), word) << "the same place each time";
    *word = ErrorMode{9};
    EXPECT_EQ(getErrorMode(), ErrorMode{9});
    setErrorMode(ErrorMode{3});
    EXPECT_EQ(*word, ErrorMode{3});
    static_assert(sizeof(ErrorMode) == 4);
}

TEST_F(ErrorModes, BelongToTheirEngine) {
    EngineInstance first, second;
    const auto in = [](EngineInstance* engine, auto body) {
        const EngineActivation active(engine);
        return body();
    };
    in(&first, [] { setErrorMode(ErrorMode{10}); });
    in(&second, [] { setErrorMode(ErrorMode{20}); });
    in(nullptr, [] { setErrorMode(ErrorMode{30}); });
    EXPECT_EQ(getErrorMode(), start);
    EXPECT_EQ(in(&first, getErrorMode), ErrorMode{10});
    EXPECT_EQ(in(&second, getErrorMode), ErrorMode{20});
    EXPECT_EQ(in(nullptr, getErrorMode), ErrorMode{30});
    EXPECT_NE(in(&first, getCurrentErrorModePtr), in(&second, getCurrentErrorModePtr));
    EXPECT_NE(in(nullptr, getCurrentErrorModePtr), getCurrentErrorModePtr());
}

TEST_F(ErrorModes, OfAnEngineAreTheSameOnEachOfItsThreads) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    setErrorMode(ErrorMode{4});
    ErrorMode* const here = getCurrentErrorModePtr();
    std::thread([&] {
        EXPECT_NE(getCurrentErrorModePtr(), here)
            << "a thread without an activation is in the default engine";
        const EngineActivation there(&engine);
        EXPECT_EQ(getCurrentErrorModePtr(), here);
        setErrorMode(ErrorMode{6});
    }).join();
    EXPECT_EQ(getErrorMode(), ErrorMode{6});
}

TEST_F(ErrorModes, WithoutAnEngineNeedNoMemory) {
    const EngineActivation none(nullptr);
    const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
    EXPECT_EQ(getErrorMode(), start);
    setErrorMode(ErrorMode{2});
    EXPECT_EQ(getErrorMode(), ErrorMode{2});
    EXPECT_EQ(exhausted.points(), 0);
}

TEST_F(ErrorModes, WithoutAnEngineAreTheProcesss) {
    const EngineActivation none(nullptr);
    setErrorMode(ErrorMode{2});
    std::thread([here = getCurrentErrorModePtr()] {
        const EngineActivation nor_here(nullptr);
        EXPECT_EQ(getCurrentErrorModePtr(), here);
        EXPECT_EQ(getErrorMode(), ErrorMode{2});
        setErrorMode(ErrorMode{3});
    }).join();
    EXPECT_EQ(getErrorMode(), ErrorMode{3});
}

TEST_F(ErrorModes, OfAClosedEngineAreThoseWithoutAnEngine) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    setErrorMode(ErrorMode{8});
    engine.close();
    EXPECT_EQ(getErrorMode(), start);
    const EngineActivation none(nullptr);
    EXPECT_EQ(getErrorMode(), start);
}

TEST_F(ErrorModes, ArePrintedAsIntegers) {
    for (const int value : {0, 1, -5, 1000000}) {
        std::ostringstream out;
        out << ErrorMode{value} << ";";
        EXPECT_EQ(out.str(), std::to_string(value) + ";");
    }
}

struct error_values {
    std::string id;
    std::u16string text;
    const ndArray_tag* array;
};

error_values last_error() {
    const auto [id, text, array] = matrix::getLastError();
    return {id, text, array};
}

void expect_no_error() {
    const error_values now = last_error();
    EXPECT_EQ(now.id, "");
    EXPECT_EQ(now.text, u"");
    EXPECT_EQ(now.array, nullptr);
}

TEST_F(LastError, StartsEmpty) {
    expect_no_error();
    EngineInstance engine;
    const EngineActivation active(&engine);
    expect_no_error();
    const EngineActivation none(nullptr);
    expect_no_error();
}

TEST_F(LastError, IsKeptWithACopyOfTheArray) {
    const auto array = arr("double 1x3", {1, 2, 3});
    matrix::setLastError("TARVEL:some:id", u"t\u00e9xt \U0001F600", array.get());
    const error_values now = last_error();
    EXPECT_EQ(now.id, "TARVEL:some:id");
    EXPECT_EQ(now.text, u"t\u00e9xt \U0001F600");
    ASSERT_NE(now.array, nullptr);
    EXPECT_NE(now.array, array.get());
    EXPECT_NE(now.array->pdata, array->pdata);
    EXPECT_THAT(now.array, EqualsArray(array.get()));
    EXPECT_EQ(array->share_record, nullptr);
    EXPECT_EQ(array->ref_count, 1U);
}

TEST_F(LastError, DoesNotShowLaterChangesOfTheArray) {
    const auto array = arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"abc")));
    matrix::setLastError("id", u"text", array.get());
    static_cast<double*>(static_cast<ndArray_tag**>(array->pdata)[0]->pdata)[0] = 99;
    array->flags |= matrix::flag_from_global_workspace;
    EXPECT_THAT(last_error().array,
                EqualsArray(arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"abc")))));
}

TEST_F(LastError, IsReplacedAndItsArrayEnded) {
    const auto array = arr("double 1x3", {1, 2, 3});
    matrix::setLastError("first", u"1", array.get());
    const live_blocks before = count_live_blocks();
    matrix::setLastError("second", u"2", array.get());
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0) << "the old array is gone";
    EXPECT_EQ(left.aligned_heap, 0);
    EXPECT_EQ(last_error().id, "second");
    matrix::setLastError("third", u"3", nullptr);
    EXPECT_EQ(last_error().array, nullptr);
    EXPECT_EQ(last_error().text, u"3");
}

TEST_F(LastError, IsEmptyAfterAReset) {
    matrix::setLastError(std::string(1000, 'x'), std::u16string(1000, u'y'), arr("double").get());
    matrix::resetLastError();
    expect_no_error();
    matrix::resetLastError();
    expect_no_error();
}

TEST_F(LastError, MayBeSetFromItself) {
    matrix::setLastError("id", u"text", arr("double 1x3", {1, 2, 3}).get());
    const auto [id, text, array] = matrix::getLastError();
    matrix::setLastError(id, text, array);
    const error_values now = last_error();
    EXPECT_EQ(now.id, "id");
    EXPECT_EQ(now.text, u"text");
    EXPECT_THAT(now.array, EqualsArray(arr("double 1x3", {1, 2, 3})));
}

TEST_F(LastError, BelongsToItsEngineAndEndsWithIt) {
    const live_blocks before = count_live_blocks();
    {
        EngineInstance engine;
        const EngineActivation active(&engine);
        matrix::setLastError("inner", u"text", arr("double").get());
        EXPECT_EQ(last_error().id, "inner");
        {
            const EngineActivation none(nullptr);
            expect_no_error();
        }
    }
    expect_no_error();
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0);
    EXPECT_EQ(left.aligned_heap, 0);
}

TEST_F(LastError, WithoutAnEngineIsKeptForTheProcess) {
    const EngineActivation none(nullptr);
    matrix::setLastError("of the process", u"text", arr("double", {7}).get());
    EXPECT_EQ(last_error().id, "of the process");
    EXPECT_EQ(api::ndGetScalar(last_error().array), 7.0);
}

// A deleter that runs while its engine goes down may ask for what engines have: nothing is made anew in the closing store.
int mode_seen_at_the_end = 0;

TEST_F(LastError, ThatEndsWithItsEngineFindsTheProcesssOwnState) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    setErrorMode(ErrorMode{5});
    const auto array = arr("double 1x3", {1, 2, 3});
    matrix::setLastError("id", u"text", array.get());
    auto* const kept = const_cast<ndArray_tag*>(last_error().array);
    kept->setCustomDeleter([](void* block) {
        foundation::core::mem::aligned_heap_instance().free(block);
        mode_seen_at_the_end = static_cast<int>(getErrorMode());
        matrix::setLastError("from the end", u"", nullptr);
    });
    engine.close();
    EXPECT_EQ(mode_seen_at_the_end, 1);
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
    const EngineActivation none(nullptr);
    EXPECT_EQ(last_error().id, "from the end");
}

TEST_F(LastError, StaysAsItIsWhenTheCopyCantBeHad) {
    const auto array = arr("cell 1x2", arr("double", {1}), arr("double", {2}));
    matrix::setLastError("kept", u"text", arr("double", {5}).get());
    const ndArray_tag* kept = last_error().array;
    for_each_module_mode([&](int) {
        for (long n = 1;; ++n) {
            std::string id = "another";
            std::u16string text = u"other";
            bool refused = false;
            try {
                const injection armed({n});
                matrix::setLastError(std::move(id), std::move(text), array.get());
            } catch (const std::bad_alloc&) {
                refused = true;
            }
            if (!refused) break;
            const error_values now = last_error();
            EXPECT_EQ(now.id, "kept");
            EXPECT_EQ(now.text, u"text");
            EXPECT_EQ(now.array, kept);
            EXPECT_EQ(matrix::internal::validate(now.array), "");
        }
        EXPECT_EQ(last_error().id, "another");
        matrix::setLastError("kept", u"text", arr("double", {5}).get());
        kept = last_error().array;
    });
}

// Two engines at work on two threads at the same time.
TEST_F(LastError, OfTwoEnginesOnTwoThreadsDontMeet) {
    const auto work = [](int number) {
        EngineInstance engine;
        const EngineActivation active(&engine);
        for (int i = 0; i < 1000; ++i) {
            const std::string id = std::to_string(number) + ":" + std::to_string(i);
            setErrorMode(ErrorMode{number * 10000 + i});
            const auto array = arr("double", {number * 10000 + i});
            matrix::setLastError(id, u"text", array.get());
            ASSERT_EQ(last_error().id, id);
            ASSERT_EQ(api::ndGetScalar(last_error().array), number * 10000 + i);
            ASSERT_EQ(getErrorMode(), ErrorMode{number * 10000 + i});
        }
    };
    std::thread first([&] { work(1); }), second([&] { work(2); });
    first.join();
    second.join();
    expect_no_error();
}

} // namespace
} // namespace test
