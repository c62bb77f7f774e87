// Text into buffers of fixed size: what doesn't fit is cut.
#include "matrix/text_view.hpp"

#include <fl/i18n/unicode_converter.hpp>
#include <nd/text.hpp>

#include <exception>

namespace matrix::detail::noninlined::nd_array_api::deprecated {

using namespace internal;

namespace {

using written = I18N::UnicodeConverterX::written;

// What can't be converted at all counts as cut before its first character.
written write_system_text(const ndArray_tag* array, char* buffer, std::size_t room) {
    try {
        auto& converter = I18N::UnicodeConverterX::getThreadSpecific(nullptr);
        return converter.from_utf16(text_of(array), buffer, room);
    } catch (const std::exception&) {
        return {0, true};
    }
}

} // namespace

int ndGetString(const ndArray_tag* array, char* buffer, std::size_t size) {
    if (buffer == nullptr || size == 0) return 0;
    if (!is_char(array)) return 1;
    const written text = write_system_text(array, buffer, size - 1);
    buffer[text.bytes] = '\0';
    return text.cut ? 1 : 0;
}

int ndGetNChars(const ndArray_tag* array, char* buffer, std::size_t size) {
    if (buffer == nullptr || size == 0) return 0;
    return is_char(array) && !write_system_text(array, buffer, size).cut ? 0 : 1;
}

} // namespace matrix::detail::noninlined::nd_array_api::deprecated
