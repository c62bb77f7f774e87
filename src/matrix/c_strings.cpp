// Text of char arrays as C strings, as std::string and as bytes.
//
// C strings in UTF-8 in blocks that can be given back: ASCII without a NUL is copied while it is looked at. All other text is measured,
// then converted.
#include "matrix/c_strings.hpp"

#include "matrix/frame.hpp"
#include "matrix/size_limit.hpp"
#include "matrix/text_errors.hpp"
#include "matrix/text_policy.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <fl/i18n/utf8.hpp>
#include <libbase/encodings.hpp>
#include <nd/from_utf16_converter.hpp>
#include <nd/memory.hpp>

#include <array>
#include <cstdint>
#include <limits>

namespace matrix::internal {

namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr const char* system_encoding = nullptr;

// The text of a char array up to its first NUL.
std::u16string_view text_to_nul(const ndArray_tag* array) {
    check_text_count(array);
    const std::u16string_view text = text_of(array);
    return text.substr(0, utf16_strlen_lim(text.data(), text.size()));
}

bool is_utf8(const char* encoding) {
    return encoding == nullptr ? fl::i18n::KvLocale::system().encoding() == only_utf8 : encoding == only_utf8;
}

// What takes back the blocks of an allocator; null where that isn't known.
text_release release_of(text_allocator allocate) noexcept {
    if (allocate == &api::ndMalloc) return &api::ndFree;
    return allocate == &api::ndMallocEx ? &api::ndFreeEx : nullptr;
}

// The C string of a text that is ASCII throughout; null for any other. Raises TARVEL:nomem when the allocator gives no block.
char* ascii_at_once(std::u16string_view text, text_allocator allocate) {
    const text_release release = release_of(allocate);
    if (release == nullptr) return nullptr;
    char head[32]; // a long text that isn't ASCII mostly shows it here: no block is wasted on it
    if (text.size() > 2 * sizeof head &&
        fl::i18n::narrow_to_nul(head, text.data(), sizeof head) != sizeof head)
        return nullptr;
    char* const block = block_for_text<char>(text.size(), allocate);
    if (fl::i18n::narrow_to_nul(block, text.data(), text.size()) == text.size()) [[likely]]
        return block;
    release(block);
    return nullptr;
}

char* c_string(const ndArray_tag* array, const char* encoding, text_allocator allocate) {
    if (!is_char(array)) return nullptr;
    check_text_count(array);
    if (is_utf8(encoding)) {
        if (char* const block = ascii_at_once(text_of(array), allocate)) return block;
    }
    return block_of(text_to_nul(array), encoding, allocate);
}

std::string std_string(const ndArray_tag* array, const char* encoding) {
    if (!is_char(array)) return {};
    return converting([&] { return I18N::FromUTF16Converter(encoding).convert(text_to_nul(array)); });
}

array_ptr bytes_of(const ndArray_tag* array) {
    if (!is_char(array)) return nullptr;
    return converting([&] {
        const std::u16string_view text = text_of(array);
        I18N::FromUTF16Converter converter(system_encoding);
        const std::size_t count = converter.measure(text);
        const bool is_row = dims_of(array)[0] == 1;
        const std::array dims{is_row ? 1 : count, is_row ? count : 1};
        array_ptr bytes = detail::do_create_uninitnumeric(dims, code_of(ndUINT8_CLASS, false));
        if (count != 0) converter.do_conversion(text, static_cast<char*>(bytes->pdata), count);
        return bytes;
    });
}

} // namespace

void check_text_count(const ndArray_tag* array) {
    constexpr std::size_t most_elements = std::numeric_limits<std::int32_t>::max();
    if (element_count(array) > most_elements) raise_size_limit_exceeded(dims_of(array), 0, 0);
}

char* block_of(std::u16string_view text, const char* encoding, text_allocator allocate) {
    if (is_utf8(encoding)) { // needs no converter
        const std::size_t count = fl::i18n::utf8_length(text);
        char* const block = block_for_text<char>(count, allocate);
        fl::i18n::utf16_to_utf8(text, block, count);
        return block;
    }
    return converting([&] {
        I18N::FromUTF16Converter converter(encoding);
        const std::size_t count = converter.measure(text);
        char* const block = block_for_text<char>(count, allocate);
        converter.do_conversion(text, block, count); // can't fail after the measuring
        return block;
    });
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

char* ndCreateCStrFromArray(const ndArray_tag* array, text_allocator allocator) {
    return framed([=] { return c_string(array, system_encoding, allocator); });
}

unsigned char* ndCreateUTF8CStrFromArray(const ndArray_tag* array, text_allocator allocator) {
    return framed(
        [=] { return reinterpret_cast<unsigned char*>(c_string(array, only_utf8.data(), allocator)); });
}

char16_t* ndCreateUTF16CStrFromArray(const ndArray_tag* array, text_allocator allocator) {
    return framed(
        [=]() -> char16_t* { return is_char(array) ? block_of(text_to_nul(array), allocator) : nullptr; });
}

char* ndArrayToString(const ndArray_tag* array) {
    return reinterpret_cast<char*>(ndArrayToString_UTF8(array));
}

unsigned char* ndArrayToString_UTF8(const ndArray_tag* array) {
    return ndCreateUTF8CStrFromArray(array, &ndMallocEx);
}

char16_t* ndArrayToString_UTF16(const ndArray_tag* array) {
    return ndCreateUTF16CStrFromArray(array, &ndMallocEx);
}

std::string ndArrayToStdString(const ndArray_tag* array) {
    return framed([=] { return std_string(array, system_encoding); });
}

std::string ndArrayToUTF8StdString(const ndArray_tag* array) {
    return framed([=] { return std_string(array, only_utf8.data()); });
}

ndArray_tag* ndArrayToByteChars(const ndArray_tag* array) {
    return framed_creator([=] { return bytes_of(array); });
}

} // namespace matrix::detail::noninlined::nd_array_api
