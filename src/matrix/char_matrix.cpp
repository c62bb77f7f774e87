// Char matrices from strings, one in each row: the longest decides the number of columns, the others end in zero units.
#include "matrix/frame.hpp"
#include "matrix/text_creation.hpp"
#include "matrix/text_errors.hpp"
#include "matrix/text_policy.hpp"
#include "matrix/text_view.hpp"

#include <fl/i18n/unicode_converter.hpp>
#include <libbase/encodings.hpp>
#include <nd/text.hpp>

#include <algorithm>
#include <array>
#include <cstdint>

namespace matrix::internal {

namespace {

// Writes one row of a matrix from left to right.
class row_writer {
public:
    row_writer(const array_ptr& matrix, std::size_t rows, std::size_t row) noexcept
        : next_(static_cast<char16_t*>(matrix->pdata) + row), rows_(rows) {}

    void put(char16_t unit) noexcept {
        *next_ = unit;
        next_ += rows_;
    }

    void put_character(std::uint32_t character) noexcept {
        if (character <= 0xFFFF) return put(static_cast<char16_t>(character));
        put(static_cast<char16_t>((character >> 10U) - 10304U));
        put(static_cast<char16_t>((character & 1023U) | 56320U));
    }

private:
    char16_t* next_;
    std::size_t rows_;
};

array_ptr blank_matrix(std::size_t rows, std::size_t columns) {
    return detail::do_create_char(std::array{rows, columns});
}

// Rows that all are empty. A list that isn't there has strings that aren't there, and those are: nobody counts them.
bool are_empty(std::size_t rows, const void* strings) noexcept { return rows == 0 || strings == nullptr; }

array_ptr encoded_matrix(std::size_t rows, const char* const* strings, const char* encoding) {
    if (are_empty(rows, strings)) return blank_matrix(rows, 0);
    auto& converter = I18N::UnicodeConverterX::getThreadSpecific(encoding);
    std::size_t longest = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::string_view bytes = text_or_nothing(strings[row]);
        check_text_size(bytes.size());
        longest = std::max(longest, converter.to_utf16(bytes, nullptr, 0));
    }
    array_ptr matrix = blank_matrix(rows, longest);
    for (std::size_t row = 0; row < rows && longest != 0; ++row) {
        row_writer writer(matrix, rows, row);
        converter.for_each_character(text_or_nothing(strings[row]),
                                     [&](UChar32 character) { writer.put_character(character); });
    }
    return matrix;
}

array_ptr utf16_matrix(std::size_t rows, const char16_t* const* strings) {
    if (are_empty(rows, strings)) return blank_matrix(rows, 0);
    std::size_t longest = 0;
    for (std::size_t row = 0; row < rows; ++row)
        if (strings[row] != nullptr) longest = std::max(longest, utf16_strlen(strings[row]));
    array_ptr matrix = blank_matrix(rows, longest);
    for (std::size_t row = 0; row < rows && longest != 0; ++row) {
        row_writer writer(matrix, rows, row);
        for (const char16_t* unit = strings[row]; unit != nullptr && *unit != 0; ++unit) writer.put(*unit);
    }
    return matrix;
}

} // namespace

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

ndArray_tag* ndCreateCharMatrixFromStrings(std::size_t m, const char** strings) {
    return framed_creator(
        [=] { return converting([=] { return encoded_matrix(m, strings, only_utf8.data()); }); });
}

ndArray_tag* ndCreateCharMatrixFromStrings_UTF8(std::size_t m, const unsigned char** strings) {
    return ndCreateCharMatrixFromStrings(m, reinterpret_cast<const char**>(strings));
}

ndArray_tag* ndCreateCharMatrixFromStrings_UTF16(std::size_t m, const char16_t** strings) {
    return framed_creator([=] { return utf16_matrix(m, strings); });
}

} // namespace matrix::detail::noninlined::nd_array_api
