// UTF-8 to UTF-16 by ICU. No text has more UTF-16 units than it has UTF-8 bytes, so one pass does it.
#include <libbase/unicode.hpp>

#include <unicode/ustring.h>

#include <cstdint>
#include <limits>
#include <stdexcept>

std::u16string baseUtf8ToUtf16(std::string_view text) {
    constexpr UChar32 substitute = 0xFFFD;
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("baseUtf8ToUtf16: text of 2 GiB or more");
    const auto bytes = static_cast<std::int32_t>(text.size());
    std::u16string result(text.size(), u'\0');
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR; // stays a success: the room suffices, and damage is substituted
    u_strFromUTF8WithSub(result.data(), bytes, &length, text.data(), bytes, substitute, nullptr, &status);
    result.resize(static_cast<std::size_t>(length));
    return result;
}
