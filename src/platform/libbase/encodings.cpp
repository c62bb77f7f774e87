// Text encoders over the thread's converters.
#include <libbase/encodings.hpp>

#include <fl/i18n/unicode_converter.hpp>

std::size_t enc_to_utf16_n(const char* encoding, const char* text, std::size_t n, char16_t* to,
                           std::size_t room) {
    return I18N::UnicodeConverterX::getThreadSpecific(encoding).to_utf16({text, n}, to, room);
}
