// Formatted text: printing to the environment's output, and formatting into a buffer of fixed size.
#pragma once

#include <cstdarg>
#include <cstddef>

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
