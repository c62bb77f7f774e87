// Start-up: what each mode switches on, and what a second start does.
#include "matrix/engine_object.hpp"
#include "matrix/library_context.hpp"
#include "matrix/module_state.hpp"
#include "matrix/process_state.hpp"
#include "matrix/test_hooks.hpp"
#include "support/death.hpp"
#include "support/module_mode.hpp"

#include "platform/test_hooks.hpp"

#include <foundation/usm/usm.hpp>
#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/messages.hpp>
#include <nd/module.hpp>

#include <foundation/core/except/exception.hpp>

#include <climits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
namespace hooks = foundation::test_hooks;
using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::initModule;
using matrix::Mode;
using matrix::mode_in_engine;
using matrix::mode_plain;

// A process that starts: not initialised, features at their defaults, cache off; all of it again afterwards.
class Module : public NdTest {
protected:
    Module() { forget(); }
    ~Module() override {
        forget();
        matrix::cache::clear();
    }
    static void forget() {
        matrix::internal::test_hooks::set_module_mode(mode_null_results);
        matrix::internal::the_module.gc_feature = false;
        matrix::cache::setEnabled(false);
        hooks::reset_features();
        hooks::reset_memory_features();
    }
};

bool errors_are_exceptions() {
    try {
        return api::ndCreateDoubleMatrix(std::size_t{1} << 40, std::size_t{1} << 40, ndREAL) != nullptr;
    } catch (const foundation::core::except::IUserException&) {
        return true;
    }
}

TEST_F(Module, NotInitialisedIsAPlainLibrary) {
    EXPECT_FALSE(matrix::isGcFeatureOn());
    EXPECT_FALSE(matrix::cache::isEnabled());
    EXPECT_FALSE(errors_are_exceptions());
    const matrix::array_ptr array(api::ndCreateDoubleMatrix(1, 1, ndREAL));
    EXPECT_EQ(api::ndGetArrayScope(array.get()), ndLOCAL_SCOPE);
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
}

TEST_F(Module, InAnEngineErrorsAreExceptions) {
    initModule(mode_in_engine);
    EXPECT_TRUE(errors_are_exceptions());
}

TEST_F(Module, InEveryOtherModeNothingIsTurnedOn) {
    hooks::set_feature("MarkSweepGC", 1);
    hooks::set_memory_feature(4, false);
    hooks::set_memory_feature(7, true);
    for (const int mode : {0, 2, -1, 7, INT_MAX, INT_MIN}) {
        matrix::internal::test_hooks::set_module_mode(mode_exceptions);
        initModule(static_cast<Mode>(mode));
        EXPECT_FALSE(errors_are_exceptions()) << mode;
        EXPECT_FALSE(matrix::isGcFeatureOn()) << mode;
        EXPECT_FALSE(matrix::cache::isEnabled()) << mode;
        EXPECT_EQ(matrix::internal::find_context(), nullptr) << mode;
    }
}

TEST_F(Module, TheCollectionFeatureFollowsItsSwitch) {
    for (const int value : {0, 1, 2, -1}) {
        forget();
        hooks::set_feature("MarkSweepGC", value);
        initModule(mode_in_engine);
        EXPECT_EQ(matrix::isGcFeatureOn(), value != 0) << value;
    }
}

TEST_F(Module, TheCollectionFeatureIsReadAtStartUpOnly) {
    initModule(mode_in_engine);
    hooks::set_feature("MarkSweepGC", 1);
    EXPECT_FALSE(matrix::isGcFeatureOn());
}

TEST_F(Module, TheCacheFollowsTwoMemoryFeatures) {
    for (const bool feature4 : {false, true}) {
        for (const bool feature7 : {false, true}) {
            for (const bool before : {false, true}) {
                forget();
                hooks::set_memory_feature(4, feature4);
                hooks::set_memory_feature(7, feature7);
                matrix::cache::setEnabled(before);
                initModule(mode_in_engine);
                EXPECT_EQ(matrix::cache::isEnabled(), !feature4 && feature7);
            }
        }
    }
}

TEST_F(Module, WithTheCollectionFeatureOffParentsStayNull) {
    initModule(mode_in_engine);
    ASSERT_FALSE(matrix::isGcFeatureOn());
    const matrix::array_ptr cell = matrix::create_cell(std::vector<std::size_t>{1, 1});
    matrix::array_ptr element = matrix::create(std::vector<std::size_t>{1, 1}, ndDOUBLE_CLASS, ndREAL);
    element->scope = ndMEMBER_SCOPE;
    static_cast<ndArray_tag**>(cell->pdata)[0] = element.release();
    const matrix::array_ptr copy = matrix::detail::do_deep_copy(cell.get());
    EXPECT_EQ(static_cast<ndArray_tag**>(copy->pdata)[0]->parent, nullptr);
    EXPECT_FALSE(cell->flags & matrix::flag_on_collection_list);
    EXPECT_FALSE(copy->flags & matrix::flag_on_collection_list);
    matrix::cache::setEnabled(false);
}

TEST_F(Module, MakesTheContextOfAnActiveEngine) {
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
    initModule(mode_in_engine);
    EXPECT_NE(matrix::internal::find_context(), nullptr);
}

TEST_F(Module, MakesNoContextWithoutAnEngine) {
    {
        const EngineActivation none(nullptr);
        initModule(mode_in_engine);
        EXPECT_EQ(matrix::internal::find_context(), nullptr);
    }
    EXPECT_EQ(matrix::internal::find_context(), nullptr);
}

constexpr const char* already = "Matrix module has already been initialized";

TEST_F(Module, ASecondStartIsFatalWithChecksOn) {
    for (const Mode first : {mode_plain, mode_in_engine}) {
        for (const Mode second : {mode_plain, mode_in_engine}) {
            forget();
            initModule(first);
            EXPECT_TERMINATE(initModule(second), already);
            EXPECT_EQ(errors_are_exceptions(), first == mode_in_engine) << "the second mode isn't stored";
        }
    }
}

TEST_F(Module, ASecondStartEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_TERMINATE_IN_CHILD(
        {
            initModule(mode_in_engine);
            initModule(mode_in_engine);
        },
        already);
}

TEST_F(Module, ASecondStartStoresItsModeWithChecksOff) {
    const diagnostics_switched_off off;
    initModule(mode_plain);
    EXPECT_NO_TERMINATE(initModule(mode_in_engine));
    EXPECT_TRUE(errors_are_exceptions());
    EXPECT_NE(matrix::internal::find_context(), nullptr) << "and goes on as a first start does";
    EXPECT_NO_TERMINATE(initModule(mode_plain));
    EXPECT_FALSE(errors_are_exceptions());
}

// Engines write the number.
TEST_F(Module, TheEnginesModeIsOne) {
    static_assert(mode_in_engine == 1 && mode_plain == 0);
    static_assert(sizeof(Mode) == 4);
}

} // namespace
} // namespace test
