// UTF-16 to UTF-8 as a string.
#include <fl/i18n/message_catalog.hpp>
#include <fl/i18n/utf8.hpp>

namespace fl::i18n {

std::string codecvt_ustring_to_string(std::u16string_view text) {
    std::string result(utf8_length(text), '\0');
    utf16_to_utf8(text, result.data(), result.size());
    return result;
}

} // namespace fl::i18n
