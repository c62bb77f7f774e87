// The switch and the handler of diag.cpp, for its test hooks.
#pragma once

#include <atomic>
#include <string_view>

namespace foundation::core::diag::detail {

using terminate_handler = void (*)(std::string_view message, const char* file, int line,
                                   const char* function);

std::atomic<bool>& checks_on() noexcept;
bool initial_checks_on() noexcept; // as the environment says

// Called in place of the ordinary end. Written by test hooks only.
extern std::atomic<terminate_handler> installed_handler;

} // namespace foundation::core::diag::detail
