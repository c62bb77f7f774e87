// The places where something else can be put in for what libbase does by itself. All are plain atomics, so that they can
// be read in static constructors and at thread exit.
#pragma once

#include <atomic>
#include <cstdarg>

struct base_warning_manager;

namespace libbase {

using print_sink = int (*)(const char* format, va_list args);

extern std::atomic<print_sink> current_print_sink; ///< what basePrintf writes through; std::vprintf at first
extern std::atomic<bool> output_shows_links;       ///< what basePrintfIsHot answers; false at first
extern std::atomic<bool>
    warning_manager_present; ///< whether the warning manager is handed out; true at first

/// The manager, also while it isn't handed out.
base_warning_manager& process_warning_manager() noexcept;

} // namespace libbase
