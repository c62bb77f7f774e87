// UTF-8 and UTF-16. Runs of ASCII go by vector loops, everything else through ICU: the results are ICU's.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace fl::i18n {

/// Copies units up to the first one above 127, and answers how many those are. The buffers don't overlap; to has room for count.
std::size_t widen_ascii(char16_t* to, const char* from, std::size_t count) noexcept;
std::size_t narrow_ascii(char* to, const char16_t* from, std::size_t count) noexcept;

/// The same, up to the first unit that is NUL or above 127.
std::size_t narrow_to_nul(char* to, const char16_t* from, std::size_t count) noexcept;

bool is_ascii(std::string_view text) noexcept;

/// Whether text is well-formed UTF-8; at most 2^31 - 1 bytes.
bool is_utf8(std::string_view text) noexcept;

/// The UTF-16 units of well-formed UTF-8; for other bytes some number, which may be above text.size().
std::size_t utf16_length(std::string_view text) noexcept;

/// The UTF-8 bytes of the text; an unpaired surrogate counts as U+FFFD.
std::size_t utf8_length(std::u16string_view text) noexcept;

/// The units before the first NUL, or count.
std::size_t find_nul(const char16_t* text, std::size_t count) noexcept;

/// Writes the UTF-16 form and answers its length; nothing when the text isn't well-formed UTF-8, though some units may be written.
/// to has room for utf16_length(text) units, text at most 2^31 - 1 bytes.
std::optional<std::size_t> utf8_to_utf16(std::string_view text, char16_t* to, std::size_t room) noexcept;

/// The same with U+FFFD in the place of what isn't well-formed; answers the number of units, at most text.size().
std::size_t utf8_to_utf16_substituting(std::string_view text, char16_t* to) noexcept;

/// Writes the UTF-8 form; an unpaired surrogate becomes U+FFFD. length is utf8_length(text), and to has room for as much.
void utf16_to_utf8(std::u16string_view text, char* to, std::size_t length) noexcept;

} // namespace fl::i18n
