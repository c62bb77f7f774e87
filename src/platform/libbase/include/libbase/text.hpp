// Text: printing to the environment's output, formatting into a buffer of fixed size, and the letters of ASCII.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// Prints to the environment's output, which is stdout unless a test put its own there. Returns the number of bytes
/// that the text has, or a negative number when it can't be formatted or written.
[[gnu::format(printf, 1, 2)]] int basePrintf(const char* format, ...);

/// Formats into buffer, whose size bytes include the terminator: longer text is cut to size - 1 bytes, which may fall
/// inside a UTF-8 sequence. The buffer is terminated whenever size is above 0; text that can't be formatted leaves it
/// empty. Returns the length written, without the terminator. args is used up, as by vsnprintf.
[[gnu::format(printf, 3, 0)]] int baseVSNprintf(char* buffer, std::size_t size, const char* format,
                                                va_list args) noexcept;

/// Whether the output can show links.
bool basePrintfIsHot() noexcept;

/// Whether a code unit of any width is one of a to z and A to Z, whatever the locale.
constexpr bool isalpha_ascii(std::uint32_t unit) noexcept {
    const std::uint32_t lower = unit | 0x20U;
    return lower >= U'a' && lower <= U'z';
}

/// The same, or one of 0 to 9.
constexpr bool isalnum_ascii(std::uint32_t unit) noexcept {
    return isalpha_ascii(unit) || (unit >= U'0' && unit <= U'9');
}
