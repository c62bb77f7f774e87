// Text encoders, and the length of UTF-16 text that a NUL ends.
#pragma once

#include <fl/i18n/utf8.hpp>

#include <cstddef>
#include <string>

/// The UTF-16 units of n bytes in an encoding by a name that ICU knows; null: the system's encoding. As many as there is room for are
/// written; what doesn't convert is substituted. Raises fl::i18n::CvtSizeTooLarge for 2 GiB and more, CvtConversionFailure
/// when there is no such encoding, and std::bad_alloc.
std::size_t enc_to_utf16_n(const char* encoding, const char* text, std::size_t n, char16_t* to,
                           std::size_t room);

/// The units before the NUL.
inline std::size_t utf16_strlen(const char16_t* text) noexcept {
    return std::char_traits<char16_t>::length(text);
}

/// The units before the first NUL of count units, or count.
inline std::size_t utf16_strlen_lim(const char16_t* text, std::size_t count) noexcept {
    return fl::i18n::find_nul(text, count);
}
