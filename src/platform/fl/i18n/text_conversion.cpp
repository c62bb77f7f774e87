// Conversion between the Unicode forms, with substitution of what isn't well-formed.
#include <fl/i18n/message_catalog.hpp>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstddef>

namespace fl::i18n {

std::string codecvt_ustring_to_string(std::u16string_view text) {
    constexpr UChar32 substitute = 0xFFFD;
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        UChar32 character;
        U16_NEXT(text.data(), at, text.size(), character);
        if (U_IS_SURROGATE(character)) character = substitute;
        char bytes[U8_MAX_LENGTH];
        std::size_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, character);
        result.append(bytes, length);
    }
    return result;
}

} // namespace fl::i18n
