// Checks of the library's internal checks.
//
//     EXPECT_TERMINATE(statement, "text")       the statement ends in diag::terminate with exactly this message
//     EXPECT_NO_TERMINATE(statement)            it doesn't
//     const diagnostics_switched_off off;       checks that can be switched off are, while it lives
//
// The library is stopped at the terminate handler by an exception, so no process has to die. Where terminate is called from a
// noexcept function the exception can't get out: EXPECT_TERMINATE_IN_CHILD runs the statement in a child process instead.
#pragma once

#include <gmock/gmock.h>

#include <csignal>

#include <functional>
#include <string>

namespace test {

struct termination {
    bool happened = false;
    std::string message;
    std::string file; ///< as the library names it, for example matrix/sharing
    std::string function;
};

/// Runs the body with terminate caught. Exceptions of the body itself pass through.
termination catch_terminate(const std::function<void()>& body);

/// The result of EXPECT_TERMINATE.
::testing::AssertionResult terminated_with(const termination& seen, const std::string& message);

class diagnostics_switched_off {
public:
    diagnostics_switched_off() noexcept;
    ~diagnostics_switched_off();
    diagnostics_switched_off(const diagnostics_switched_off&) = delete;
    diagnostics_switched_off& operator=(const diagnostics_switched_off&) = delete;
};

} // namespace test

#define EXPECT_TERMINATE(statement, text)                                                                    \
    EXPECT_TRUE(::test::terminated_with(::test::catch_terminate([&] { statement; }), text))
#define EXPECT_NO_TERMINATE(statement) EXPECT_FALSE(::test::catch_terminate([&] { statement; }).happened)
#define EXPECT_TERMINATE_IN_CHILD(statement, text)                                                           \
    EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGABRT), ::testing::HasSubstr(text))
