// Text of char arrays in UTF-8, in encodings of callers' converters and in wide characters.
#include "matrix/text_errors.hpp"
#include "matrix/text_policy.hpp"
#include "matrix/text_view.hpp"

#include <fl/i18n/utf16.hpp>
#include <nd/from_utf16_converter.hpp>
#include <nd/text.hpp>

#include <algorithm>

namespace matrix {

using namespace internal;
using fl::i18n::take_character;

namespace {

static_assert(sizeof(wchar_t) == sizeof(char32_t)); // a wide character is a code point

std::wstring wide(std::u16string_view text) {
    std::wstring result;
    result.reserve(text.size());
    while (!text.empty()) result.push_back(static_cast<wchar_t>(take_character(text)));
    return result;
}

template <class String, class Convert>
std::vector<String> each_of(const ndArray_tag* array, Convert&& convert) {
    const std::vector<std::u16string> strings = get_ustring_array(array);
    std::vector<String> result(strings.size());
    std::transform(strings.begin(), strings.end(), result.begin(), convert);
    return result;
}

I18N::FromUTF16Converter utf8_converter() { return I18N::FromUTF16Converter(only_utf8.data()); }

} // namespace

std::string get_string(const ndArray_tag* array) {
    auto converter = utf8_converter();
    return get_string(array, converter);
}

std::string get_string(const ndArray_tag* array, I18N::FromUTF16Converter& converter) {
    return converting([&] { return converter.convert(text_of(array)); });
}

std::wstring get_wstring(const ndArray_tag* array) { return wide(text_of(array)); }

std::vector<std::string> get_string_array(const ndArray_tag* array) {
    auto converter = utf8_converter();
    return converting([&] {
        return each_of<std::string>(array,
                                    [&](const std::u16string& text) { return converter.convert(text); });
    });
}

std::vector<std::wstring> get_wstring_array(const ndArray_tag* array) {
    return each_of<std::wstring>(array, wide);
}

std::size_t copy_string(char* dest, std::size_t size, const ndArray_tag* array) {
    auto converter = utf8_converter();
    return copy_string(dest, size, array, converter);
}

std::size_t copy_string(char* dest, std::size_t size, const ndArray_tag* array,
                        I18N::FromUTF16Converter& converter) {
    const std::u16string_view text = text_of(array);
    if (text.empty() || size == 0) return 0;
    return converting([&] { return converter.do_conversion_up_to(text, dest, size); });
}

std::size_t copy_wstring(wchar_t* dest, std::size_t size, const ndArray_tag* array) {
    std::u16string_view text = text_of(array);
    std::size_t count = 0;
    for (; count < size && !text.empty(); ++count) dest[count] = static_cast<wchar_t>(take_character(text));
    return count;
}

std::size_t get_destination_string_size(const ndArray_tag* array) {
    auto converter = utf8_converter();
    return get_destination_string_size(array, converter);
}

std::size_t get_destination_string_size(const ndArray_tag* array, I18N::FromUTF16Converter& converter) {
    return converting([&] { return converter.measure(text_of(array)); });
}

std::size_t get_destination_wstring_size(const ndArray_tag* array) {
    std::u16string_view text = text_of(array);
    std::size_t count = 0;
    for (; !text.empty(); ++count) take_character(text);
    return count;
}

} // namespace matrix
