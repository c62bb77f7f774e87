// Catching diag::terminate by an exception.
#include "support/death.hpp"

#include "platform/test_hooks.hpp"

namespace test {
namespace {

[[noreturn]] void throw_termination(std::string_view message, const char* file, int /*line*/,
                                    const char* function) {
    throw termination{true, std::string(message), file, function};
}

class handler_scope {
public:
    handler_scope() noexcept : before_(foundation::test_hooks::set_terminate_handler(throw_termination)) {}
    ~handler_scope() { foundation::test_hooks::set_terminate_handler(before_); }
    handler_scope(const handler_scope&) = delete;
    handler_scope& operator=(const handler_scope&) = delete;

private:
    foundation::test_hooks::terminate_handler before_;
};

} // namespace

termination catch_terminate(const std::function<void()>& body) {
    const handler_scope handler;
    try {
        body();
    } catch (termination& seen) {
        return std::move(seen);
    }
    return {};
}

::testing::AssertionResult terminated_with(const termination& seen, const std::string& message) {
    if (!seen.happened) return ::testing::AssertionFailure() << "the process wasn't terminated";
    if (seen.message != message) {
        return ::testing::AssertionFailure() << "terminated with \"" << seen.message << "\" in "
                                             << seen.function << ", not with \"" << message << "\"";
    }
    return ::testing::AssertionSuccess();
}

diagnostics_switched_off::diagnostics_switched_off() noexcept {
    foundation::test_hooks::set_diag_terminate(false);
}

diagnostics_switched_off::~diagnostics_switched_off() { foundation::test_hooks::reset_diag_terminate(); }

} // namespace test
