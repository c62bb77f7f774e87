// Every setter of the platform that tests need. The definitions are part of nd-testing only: the library as shipped has
// none of them. Hooks change process-wide state; a test puts back what it changed, before other threads run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace foundation::core::mem {
struct aligned_heap;
}
namespace foundation::core::cpu {
enum class instruction_set : std::uint8_t;
}

namespace foundation::test_hooks {

// ---- heap and memory manager

// Replaces the slots of the aligned heap and returns what stood there. A replacement reaches the heap itself through
// the returned table; its overhead_bytes is what overhead() tells.
core::mem::aligned_heap swap_aligned_heap(const core::mem::aligned_heap& replacement) noexcept;

void set_memory_feature(int number, bool on);                      // 0 to 63
void reset_memory_features() noexcept;                             // to defaults and environment
void set_total_random_access_memory(std::uint64_t bytes) noexcept; // 0: ask the system again

// ---- diagnostics

void set_diag_terminate(bool on) noexcept;
void reset_diag_terminate() noexcept; // to default and environment

// Called by diag::terminate() in place of printing and aborting. It may throw; if it returns, the process ends after
// all. Null restores the ordinary end.
using terminate_handler = void (*)(std::string_view message, const char* file, int line,
                                   const char* function);
terminate_handler set_terminate_handler(terminate_handler handler) noexcept; // returns the one before

// ---- processor

void set_instruction_set(
    core::cpu::instruction_set set);   // std::invalid_argument for one that isn't available
void reset_instruction_set() noexcept; // to the processor's best and the environment

// ---- features

void set_feature(const char* name, int value); // std::invalid_argument for a name that isn't in the table
void reset_features() noexcept;                // to defaults and environment

// ---- log

// One channel's mask is set by set_channel_mask() of foundation/log/logger.hpp.
void reset_channel_masks(); // to off and environment

// Receives the records in place of standard error, one call at a time. It may throw: the record is then lost. An empty
// function restores standard error.
using log_sink =
    std::function<void(const std::string& channel, std::uint32_t severity, const std::string& text)>;
void set_log_sink(log_sink sink);

// ---- engine

// Closes the default engine, which ends its objects, and opens it again empty.
void reset_default_engine() noexcept;

// ---- locale and text (null restores the default)

void set_system_encoding(const char* name);
void set_global_locale(const char* name);
void set_install_path(const char* path);

// Units of text that go to ICU at once, at least 2; 0 restores the default.
void set_largest_text_piece(std::size_t units) noexcept;

// ---- warning manager

void set_warning_manager_present(bool present) noexcept; // whether there is a manager context to be had
void set_warning_status(const char* identifier, int status);
void set_warning_mode(int mode, bool on);
void reset_warnings() noexcept; // a manager is present, all statuses default, all modes off

// ---- output

// From start to end, what basePrintf would write is kept instead; the end returns it and gives stdout back.
void start_output_capture() noexcept;
std::string end_output_capture() noexcept;

void set_output_shows_links(bool shows) noexcept;

} // namespace foundation::test_hooks
