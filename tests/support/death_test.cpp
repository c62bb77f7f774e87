// Terminations are caught with their text, and checks can be switched off.
#include "support/death.hpp"

#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include "matrix/module_state.hpp"

#include <foundation/core/diag/diag.hpp>

#include <gtest/gtest-spi.h>

#include <stdexcept>

namespace {

namespace diag = foundation::core::diag;
using Death = test::NdTest;

TEST_F(Death, CatchesTheMessage) {
    EXPECT_TERMINATE(diag::terminate("the message", "matrix/file", 3, "function"), "the message");
    EXPECT_TERMINATE(diag::check(false, "a check"), "a check");
}

TEST_F(Death, TellsWhere) {
    const test::termination seen =
        test::catch_terminate([] { diag::terminate("m", "matrix/file", 3, "function"); });
    EXPECT_EQ(seen.file, "matrix/file");
    EXPECT_EQ(seen.function, "function");
}

TEST_F(Death, FailsWithoutTermination) {
    EXPECT_NONFATAL_FAILURE(EXPECT_TERMINATE(diag::check(true, "fine"), "fine"),
                            "the process wasn't terminated");
    EXPECT_NO_TERMINATE(diag::check(true, "fine"));
}

TEST_F(Death, FailsOnAnotherMessage) {
    EXPECT_NONFATAL_FAILURE(EXPECT_TERMINATE(diag::check(false, "this"), "that"), "not with \"that\"");
}

TEST_F(Death, LetsExceptionsOfTheBodyPass) {
    EXPECT_THROW(test::catch_terminate([] { throw std::runtime_error("other"); }), std::runtime_error);
}

TEST_F(Death, SwitchesChecksOff) {
    const test::diagnostics_switched_off off;
    EXPECT_NO_TERMINATE(diag::check(false, "switched off"));
}

TEST_F(Death, SwitchesChecksOnAgain) {
    { const test::diagnostics_switched_off off; }
    EXPECT_TERMINATE(diag::check(false, "on again"), "on again");
}

TEST_F(Death, RunsInAChildWhereNoExceptionGetsOut) {
    const auto end_quietly = []() noexcept { diag::terminate("from noexcept", "f", 1, "g"); };
    EXPECT_TERMINATE_IN_CHILD(end_quietly(), "from noexcept");
}

TEST_F(Death, ModuleModesComeAndGo) {
    using matrix::internal::errors_leave_as_exceptions;
    EXPECT_FALSE(errors_leave_as_exceptions());
    EXPECT_TRUE(test::with_module_mode(test::mode_exceptions, [] { return errors_leave_as_exceptions(); }));
    std::vector<bool> seen;
    test::for_each_module_mode(
        [&](int mode) { seen.push_back(errors_leave_as_exceptions() == (mode == 1)); });
    EXPECT_EQ(seen, (std::vector<bool>{true, true}));
    EXPECT_FALSE(errors_leave_as_exceptions());
}

} // namespace
