// Internal checks: the switch, the end of the process on a failed check, and stack traces.
//
// A check that fails with the switch on ends the process. With the switch off the code goes on behind it, so every
// caller of check() has a defined way to go on.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace foundation::core::diag {

// Whether checks end the process. On, unless the environment holds ND_DIAG_TERMINATE=0, read once.
bool fl_diag_terminate() noexcept;

// Prints message, place and stack to standard error and aborts. The message may hold any bytes. Not noexcept: the handler
// that tests may install leaves by an exception.
[[noreturn]] void terminate(std::string_view message, const char* file, int line, const char* function);

// The one form of an internal check. The place is the caller's.
inline void check(bool ok, std::string_view message, const char* file = __builtin_FILE(),
                  int line = __builtin_LINE(), const char* function = __builtin_FUNCTION()) {
    if (!ok && fl_diag_terminate()) terminate(message, file, line, function);
}

// Return addresses of a call stack, innermost first. Capturing takes no memory from the heap and can't fail; names
// are looked up by format().
class stacktrace_base {
public:
    static constexpr std::size_t max_frames = 128;

    // The stack of the caller without its innermost `skip` frames. Frames beyond max_frames are left out.
    [[gnu::noinline]] static stacktrace_base capture(std::size_t skip = 0) noexcept;

    std::size_t size() const noexcept { return size_; }
    void* const* frames() const noexcept { return frames_.data(); }

    // One line a frame: number, address, function where the dynamic symbols know it, and module with offset.
    std::string format() const;

private:
    std::size_t size_ = 0;
    std::array<void*, max_frames> frames_{};
};

} // namespace foundation::core::diag
