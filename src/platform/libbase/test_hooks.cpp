// Setters for tests: the warning manager's state, and what basePrintf writes.
#include "platform/test_hooks.hpp"

#include <libbase/warning_manager.hpp>

#include "platform/libbase/seams.hpp"

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace foundation::test_hooks {
namespace {

std::mutex captured_lock;
std::string captured;

[[gnu::format(printf, 1, 0)]] int capture(const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) return length;
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    const std::lock_guard guard(captured_lock);
    captured += text;
    return length;
}

} // namespace

void set_warning_manager_present(bool present) noexcept { libbase::warning_manager_present.store(present); }

void set_warning_status(const char* identifier, int status) {
    baseSetWarningStatus(&libbase::process_warning_manager(), identifier, status);
}

void set_warning_mode(int mode, bool on) {
    baseSetWarningMode(&libbase::process_warning_manager(), mode, on);
}

void reset_warnings() noexcept {
    baseResetWarningManager(&libbase::process_warning_manager());
    set_warning_manager_present(true);
}

void start_output_capture() noexcept {
    const std::lock_guard guard(captured_lock);
    captured.clear();
    libbase::current_print_sink.store(&capture);
}

std::string end_output_capture() noexcept {
    libbase::current_print_sink.store(&std::vprintf);
    const std::lock_guard guard(captured_lock);
    return std::exchange(captured, {});
}

void set_output_shows_links(bool shows) noexcept { libbase::output_shows_links.store(shows); }

} // namespace foundation::test_hooks
