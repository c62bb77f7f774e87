// Measuring and writing. UTF-8 is measured without converting; of other encodings a short result is kept from the measuring.
#include <nd/from_utf16_converter.hpp>

#include <fl/i18n/unicode_converter.hpp>
#include <fl/i18n/utf8.hpp>

#include <algorithm>
#include <cstring>

namespace I18N {

FromUTF16Converter::FromUTF16Converter(const char* encoding) {
    if (encoding != nullptr) encoding_ = encoding;
}

std::size_t FromUTF16Converter::measure(std::u16string_view text) {
    UnicodeConverterX& converter = UnicodeConverterX::getThreadSpecific(encoding());
    if (text.empty()) return 0; // some encodings begin with a sequence of their own, even before nothing
    if (converter.is_utf8()) return fl::i18n::utf8_length(text);
    const auto first = converter.from_utf16(text, kept_.data(), kept_.size());
    return first.cut ? converter.count_bytes(text) : first.bytes;
}

void FromUTF16Converter::do_conversion(std::u16string_view text, char* to, std::size_t length) {
    UnicodeConverterX& converter = UnicodeConverterX::getThreadSpecific(encoding());
    if (converter.is_utf8()) {
        fl::i18n::utf16_to_utf8(text, to, length);
    } else if (length <= kept_.size()) {
        std::memcpy(to, kept_.data(), length);
    } else {
        converter.from_utf16(text, to, length);
    }
}

std::size_t FromUTF16Converter::do_conversion_up_to(std::u16string_view text, char* to, std::size_t room) {
    return UnicodeConverterX::getThreadSpecific(encoding()).from_utf16(text, to, room).bytes;
}

std::string FromUTF16Converter::convert(std::u16string_view text) {
    std::string result(measure(text), '\0');
    do_conversion(text, result.data(), result.size());
    return result;
}

} // namespace I18N
