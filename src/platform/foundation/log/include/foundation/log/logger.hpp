// Log channels. A channel has a name and a mask with one bit a severity; all masks are 0 (off) until set by the
// environment, ND_LOG="matrix::arraylist=0x200,matrix::sizelimit=0x200" read once, or by set_channel_mask().
//
// Asking for a level is one relaxed load, so a logger may be asked on hot paths. Loggers of one channel share its
// mask, wherever they are made. Records go to standard error.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>
#include <string>

namespace foundation::log {

inline constexpr std::uint32_t severity_debug = 0x200;
inline constexpr std::uint32_t severity_fatal = 0x800;
inline constexpr std::uint32_t severity_mask = 0xFFF; // no severity is above fatal

namespace detail {
class channel;
struct record_state;

// Ends the process as diag::terminate does; for records of fatal severity. Takes no memory to come there.
[[noreturn]] void terminate(const char* message, const char* file, int line, const char* function);
} // namespace detail

// A record that is being written. It may be "not opened": the channel is off at that severity, the logging core
// refused it, or there was no memory for it. Closing such a record does nothing.
class log_record {
public:
    log_record() noexcept;
    log_record(log_record&&) noexcept;
    log_record& operator=(log_record&&) noexcept;
    ~log_record(); // a record that isn't closed is dropped

    explicit operator bool() const noexcept { return state_ != nullptr; }

    // Hands the record with this text to the sinks. A sink that fails loses the record, nothing else. The record is
    // not open afterwards.
    void close(const std::string& text) noexcept;

private:
    friend class basic_diagnostic_logger;
    explicit log_record(std::unique_ptr<detail::record_state> state) noexcept;

    std::unique_ptr<detail::record_state> state_;
};

class basic_diagnostic_logger {
public:
    explicit basic_diagnostic_logger(const char* channel);

    // The level word: the severity, shifted left by 15, if the channel is on for it, else 0.
    std::uint32_t level(std::uint32_t severity) const noexcept {
        return (mask_.load(std::memory_order_relaxed) & severity) != 0 ? severity << 15 : 0;
    }
    bool is_on(std::uint32_t severity) const noexcept { return level(severity) != 0; }

    // The level word of the highest severity that the channel is on for, or 0. One load.
    std::uint32_t highest_level() const noexcept {
        const std::uint32_t mask = mask_.load(std::memory_order_relaxed) & severity_mask;
        return std::bit_floor(mask) << 15;
    }

    // Whether it is on for any severity.
    bool is_on_at_all() const noexcept { return (mask_.load(std::memory_order_relaxed) & severity_mask) != 0; }

    log_record open_record(std::uint32_t severity) const noexcept;

    // Opens a record, writes the text and closes it; nothing if the record can't be opened.
    void write(std::uint32_t severity, const std::string& text) const noexcept {
        open_record(severity).close(text);
    }

private:
    explicit basic_diagnostic_logger(detail::channel& channel) noexcept;

    detail::channel& channel_; // lives as long as the process
    const std::atomic<std::uint32_t>& mask_;
};

// Sets the mask of a channel, also of one that no logger has named yet.
void set_channel_mask(const char* channel, std::uint32_t mask);

} // namespace foundation::log
