// The switch of internal checks and the end of the process.
#include "diag_state.hpp"

#include <foundation/core/diag/diag.hpp>

#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
#include <string_view>
#include <unistd.h>

namespace foundation::core::diag {

namespace {

const char* text_or_unknown(const char* text) noexcept { return text != nullptr ? text : "?"; }

// Names need memory; where there is none, the stack is printed without them.
void print_stack(const stacktrace_base& stack) noexcept {
    try {
        std::fputs(stack.format().c_str(), stderr);
    } catch (...) {
        backtrace_symbols_fd(stack.frames(), static_cast<int>(stack.size()), STDERR_FILENO);
    }
}

} // namespace

bool detail::initial_checks_on() noexcept {
    const char* const setting = std::getenv("ND_DIAG_TERMINATE");
    return setting == nullptr || std::string_view(setting) != "0";
}

std::atomic<bool>& detail::checks_on() noexcept {
    static std::atomic<bool> on{initial_checks_on()};
    return on;
}

constinit std::atomic<detail::terminate_handler> detail::installed_handler{nullptr};

bool fl_diag_terminate() noexcept { return detail::checks_on().load(std::memory_order_relaxed); }

void terminate(std::string_view message, const char* file, int line, const char* function) {
    if (const detail::terminate_handler handler = detail::installed_handler.load()) {
        handler(message, file, line, function);
    }
    std::fputs("Internal check failed: ", stderr);
    if (!message.empty()) { // an empty view may have no address, which fwrite doesn't take
        std::fwrite(message.data(), 1, message.size(), stderr);
    }
    std::fprintf(stderr, "\n  at %s:%d\n  in %s\nStack:\n", text_or_unknown(file), line,
                 text_or_unknown(function));
    print_stack(stacktrace_base::capture(1));
    std::abort();
}

} // namespace foundation::core::diag
