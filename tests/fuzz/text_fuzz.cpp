// Bytes to char arrays and char arrays to text, in every form, against what ICU makes of the same bytes at once.
//
// The first byte of an input chooses the system's encoding, the second how long cut results are; the others are the text. They are
// read as bytes, and as UTF-16 units, which may be any, unpaired surrogates among them.
#include "fuzz_target.hpp"

#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/memory.hpp>
#include <nd/text.hpp>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using fuzz::require;
using matrix::array_ptr;

constexpr const char* encodings[] = {"UTF-8",       "GB18030",    "Shift_JIS", "GBK",
                                     "windows-949", "ISO-8859-1", "US-ASCII",  "Big5"};

// ---- what ICU says

struct close_converter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using icu_converter = std::unique_ptr<UConverter, close_converter>;

icu_converter open(const char* encoding) {
    UErrorCode status = U_ZERO_ERROR;
    icu_converter converter(ucnv_open(encoding, &status));
    require(U_SUCCESS(status), "ICU knows the encoding");
    return converter;
}

std::u16string decoded(std::string_view bytes, const char* encoding) {
    const icu_converter converter = open(encoding);
    std::u16string units(2 * bytes.size() + 1, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t count =
        ucnv_toUChars(converter.get(), units.data(), static_cast<std::int32_t>(units.size()), bytes.data(),
                      static_cast<std::int32_t>(bytes.size()), &status);
    require(U_SUCCESS(status), "ICU decodes");
    units.resize(static_cast<std::size_t>(count));
    return units;
}

std::string encoded(std::u16string_view units, const char* encoding) {
    const icu_converter converter = open(encoding);
    std::string bytes(UCNV_GET_MAX_BYTES_FOR_STRING(units.size(), ucnv_getMaxCharSize(converter.get())),
                      '\0');
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t count =
        ucnv_fromUChars(converter.get(), bytes.data(), static_cast<std::int32_t>(bytes.size()), units.data(),
                        static_cast<std::int32_t>(units.size()), &status);
    require(U_SUCCESS(status), "ICU encodes");
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// Nothing where the bytes aren't UTF-8, unless they are to be substituted.
std::optional<std::u16string> from_utf8(std::string_view bytes, UChar32 substitute = U_SENTINEL) {
    std::u16string units(bytes.size(), u'\0');
    std::int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<std::int32_t>(units.size()), &count, bytes.data(),
                         static_cast<std::int32_t>(bytes.size()), substitute, nullptr, &status);
    if (U_FAILURE(status)) return std::nullopt;
    units.resize(static_cast<std::size_t>(count));
    return units;
}

constexpr UChar32 replacement = 0xFFFD;

// ---- arrays

array_ptr own(ndArray_tag* array) {
    require(array != nullptr, "an array was made");
    require(matrix::internal::validate(array).empty(), "the array is valid");
    return array_ptr(array);
}

void require_row(const array_ptr& array, std::u16string_view units, const char* property) {
    require(matrix::get_ustring(array.get()) == units, property);
    require(api::ndGetM(array.get()) == (units.empty() ? 0U : 1U), "text is a row, no text 0x0");
}

template <class T>
void require_block(T* block, std::basic_string_view<T> text, const char* property) {
    require(block != nullptr && text == block, property); // as far as the NUL
    api::ndFreeEx(block);
}

void require_block(unsigned char* block, const std::string& text, const char* property) {
    require_block(reinterpret_cast<char*>(block), std::string_view(text), property);
}

const unsigned char* unsigned_bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

template <class Text>
Text to_nul(const Text& text) {
    return text.substr(0, text.find(typename Text::value_type{}));
}

// ---- from bytes

// Read without the name of an encoding: as UTF-8, and as the system's encoding where they aren't or may not be meant so.
void check_default(const array_ptr& array, const std::string& bytes, const char* system,
                   const char* property) {
    const std::u16string units = matrix::get_ustring(array.get());
    const auto as_utf8 = from_utf8(bytes);
    const bool may_be_disguised = std::string_view(system) != "UTF-8" && units == decoded(bytes, system);
    require((as_utf8 && units == *as_utf8) || (!as_utf8 && units == decoded(bytes, system)) ||
                may_be_disguised,
            property);
}

void check_creation(const std::string& bytes, const char* system) {
    check_default(own(api::ndCreateStringFromNChars(bytes.data(), bytes.size())), bytes, system, "bytes");
    check_default(own(api::ndCreateString(bytes.c_str())), to_nul(bytes), system, "bytes to the NUL");
    for (const char* const encoding : encodings) {
        if (std::string_view(encoding) == "UTF-8") continue; // where others end the process
        require_row(own(matrix::detail::NdCreateStringNCharsT_safe(bytes.data(), bytes.size(), encoding)),
                    decoded(bytes, encoding), "bytes in an encoding");
    }
    require_row(own(matrix::detail::NdCreateStringNCharsT_safe(bytes.data(), bytes.size(), nullptr)),
                decoded(bytes, system), "bytes in the system's encoding");
    if (const auto units = from_utf8(bytes)) {
        require_row(own(api::ndCreateStringFromNChars_UTF8(unsigned_bytes(bytes.data()), bytes.size())),
                    *units, "UTF-8");
        require_row(own(api::ndCreateString_UTF8(unsigned_bytes(bytes.c_str()))), to_nul(*units),
                    "UTF-8 to the NUL");
    }
}

// A matrix of the lines of the text.
void check_matrix(const std::string& bytes) {
    std::vector<std::string> lines(1);
    for (const char c : to_nul(bytes)) {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    std::vector<const char*> strings;
    std::vector<std::u16string> rows;
    std::size_t width = 0;
    for (const std::string& line : lines) {
        strings.push_back(line.c_str());
        rows.push_back(decoded(line, "UTF-8"));
        width = std::max(width, rows.back().size());
    }
    const array_ptr array = own(api::ndCreateCharMatrixFromStrings(strings.size(), strings.data()));
    for (std::u16string& row : rows) row.resize(width);
    if (width != 0) require(matrix::get_ustring_array(array.get()) == rows, "rows of a matrix");
    char16_t** const back = api::ndCharMatrixToStrings_UTF16(array.get());
    require(back != nullptr, "strings of a matrix");
    for (std::size_t i = 0; back[i] != nullptr; ++i) {
        const std::size_t end = rows[i].find_last_not_of(std::u16string(u" \0", 2));
        const std::u16string trimmed = to_nul(rows[i].substr(0, end + 1));
        require_block(back[i], std::u16string_view(trimmed), "rows without their blanks");
    }
    api::ndFreeEx(back);
}

// ---- from units

std::wstring wide(std::u16string_view units) {
    std::wstring text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        UChar32 character = units[i];
        if (U16_IS_LEAD(character) && i + 1 < units.size() && U16_IS_TRAIL(units[i + 1])) {
            character = U16_GET_SUPPLEMENTARY(character, units[++i]);
        } else if (U_IS_SURROGATE(character)) {
            character = replacement;
        }
        text += static_cast<wchar_t>(character);
    }
    return text;
}

void check_cut(const ndArray_tag* array, const std::string& text, std::size_t size) {
    std::string buffer(size + 1, '#');
    const std::size_t count = std::min(size, text.size());
    require(matrix::copy_string(buffer.data(), size, array) == count, "how much is copied");
    require(buffer.compare(0, count, text, 0, count) == 0 && buffer[size] == '#', "what is copied");
}

void check_buffer(const ndArray_tag* array, const std::string& text, std::size_t size) {
    std::string buffer(size + 1, '#');
    const int cut = api::deprecated::ndGetString(array, buffer.data(), size);
    require(buffer[size] == '#', "nothing behind the buffer");
    if (size == 0) return;
    const std::size_t count = std::min(size - 1, text.size());
    require(cut == (count < text.size() ? 1 : 0), "whether the text was cut");
    require(buffer.compare(0, count, text, 0, count) == 0 && buffer[count] == '\0', "text in a buffer");
}

void check_text(const std::u16string& units, const char* system, std::size_t size) {
    const array_ptr array = own(api::ndCreateStringFromNChars_UTF16(units.data(), units.size()));
    require_row(array, units, "units");
    require_row(own(api::ndCreateString_UTF16(units.c_str())), to_nul(units), "units to the NUL");

    const std::string utf8 = encoded(units, "UTF-8");
    require(matrix::get_string(array.get()) == utf8, "text in UTF-8");
    require(matrix::get_destination_string_size(array.get()) == utf8.size(), "its size");
    require(matrix::get_wstring(array.get()) == wide(units), "text in wide characters");
    require(from_utf8(utf8).has_value(), "what comes as UTF-8 is UTF-8");
    for (const char* const encoding : encodings) {
        I18N::FromUTF16Converter converter(encoding);
        const std::string bytes = encoded(units, encoding);
        require(matrix::get_string(array.get(), converter) == bytes, "text in an encoding");
        require(matrix::get_destination_string_size(array.get(), converter) == bytes.size(),
                "its size there");
    }

    const std::u16string start = to_nul(units);
    require_block(api::ndArrayToString_UTF16(array.get()), std::u16string_view(start), "C string of units");
    require_block(api::ndArrayToString_UTF8(array.get()), encoded(start, "UTF-8"), "C string in UTF-8");
    const std::string in_system = encoded(start, system);
    require(api::ndArrayToStdString(array.get()) == in_system, "std::string");
    require(api::ndArrayToUTF8StdString(array.get()) == encoded(start, "UTF-8"), "std::string in UTF-8");

    const std::string all = encoded(units, system);
    const array_ptr bytes = own(api::ndArrayToByteChars(array.get()));
    require(api::ndGetNumberOfElements(bytes.get()) == all.size() &&
                (all.empty() || std::memcmp(bytes->pdata, all.data(), all.size()) == 0),
            "array of bytes");
    check_cut(array.get(), utf8, size);
    check_buffer(array.get(), all, size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t longest = 20000; // enough for every buffer, with room for their ends
    if (size < 2 || size > longest) return 0;
    const char* const system = encodings[data[0] % std::size(encodings)];
    foundation::test_hooks::set_system_encoding(system);
    const std::string bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
    check_creation(bytes, system);
    check_matrix(bytes);
    std::u16string units(bytes.size() / 2, u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    check_text(units, system, data[1]);
    check_text(*from_utf8(bytes, replacement), system, data[1]);
    foundation::test_hooks::set_system_encoding(nullptr);
    return 0;
}
