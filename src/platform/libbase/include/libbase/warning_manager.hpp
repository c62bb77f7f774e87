// The warning manager: which warnings are on, off or errors, the modes, the id that was printed last, and the log.
//
// There is one manager for the process. The library asks it about each warning and tells it what happened; the environment
// sets statuses and modes and reads the rest. Every function takes the manager's own lock for its own duration only, so any
// thread may call any of them.
#pragma once

#include <cstdarg>
#include <string>
#include <vector>

namespace resource_core {
class BaseMsgID;
}

struct base_warning_manager;

/// What becomes of a warning.
enum base_warning_status : int {
    base_warning_off = 0,
    base_warning_on = 1, ///< the status of every id that nothing else was set for
    base_warning_error = 2,
};

/// Switches for all warnings; off until set.
enum base_warning_mode : int {
    base_warning_mode_hint = 2,    ///< a printed warning tells how to switch it off
    base_warning_mode_all_off = 3, ///< every warning is taken as off
};

/// One entry of the log.
struct base_warning_record {
    std::string id;
    std::string text;   ///< UTF-8, in full, even where what was shown had to be cut
    std::string source; ///< what the text was made from: a format string, or "catalog:key"
    bool off;           ///< the warning was off, so nobody saw it
};

/// Entries that the log holds; beyond that the oldest go.
inline constexpr std::size_t base_warning_log_limit = 1000;

/// The manager, or null when the environment has none.
base_warning_manager* baseGetWarningManagerContextSafe() noexcept;

int baseGetWarningStatus(const base_warning_manager* manager, const char* id) noexcept;
bool baseIsWarningModeOn(const base_warning_manager* manager, int mode) noexcept;

/// The setters and both forms of the log throw std::bad_alloc with the manager unchanged.
void baseSetWarningStatus(base_warning_manager* manager, const char* id, int status);
void baseSetWarningMode(base_warning_manager* manager, int mode,
                        bool on) noexcept; ///< modes 0 to 31; others are ignored

void baseSetLastPrintedWarningId(base_warning_manager* manager, const char* id);
std::string baseGetLastPrintedWarningId(const base_warning_manager* manager);

/// Logs a formatted warning. text is what was made of format and args for showing, perhaps cut.
[[gnu::format(printf, 4, 0)]] void baseLogWarning(base_warning_manager* manager, const char* id,
                                                  const char* text, const char* format, va_list args,
                                                  bool off);

/// Logs a warning whose text is in a catalog. id is null when the warning goes by the id of its message.
void baseLogWarning(base_warning_manager* manager, const char* id, const resource_core::BaseMsgID& message,
                    bool off);

/// The log, oldest entry first.
std::vector<base_warning_record> baseGetWarningLog(const base_warning_manager* manager);

/// Forgets statuses, modes, the last printed id and the log.
void baseResetWarningManager(base_warning_manager* manager) noexcept;
