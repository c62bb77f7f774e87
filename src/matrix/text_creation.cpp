// Making char rows, the colon among them.
//
// Ways of bytes that may be UTF-8, in this order:
//   up to 8120 of ASCII    widened straight into a pair that the cache has ready
//   all ASCII              widened straight into the array
//   up to 1024 bytes       converted on the stack, copied
//   more                   counted, converted straight into the array
// Bytes that aren't UTF-8, or are by chance, go through the converter of the encoding: on the stack up to 1024 units, and once
// more into the array when there are more of them.
#include "matrix/text_creation.hpp"

#include "errors/raise.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/frame.hpp"
#include "matrix/text_errors.hpp"
#include "matrix/text_policy.hpp"
#include "matrix/text_view.hpp"

#include <foundation/core/diag/diag.hpp>
#include <libbase/encodings.hpp>
#include <nd/access.hpp>
#include <nd/text.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <string>

namespace matrix::internal {

namespace {

constexpr std::size_t stack_units = 1024;
using stack_buffer = std::array<char16_t, stack_units>;

// A row with room for this many units, not 0.
array_ptr blank_row(std::size_t units) {
    const NdArrayTypeId code = code_of(ndCHAR_CLASS, false);
    if (ndArray_tag* const pair = take_ready_pair(code, 1, units, DataInitialization::uninitialized))
        return array_ptr(pair);
    return matrix::detail::do_create_uninitnumeric(std::array{std::size_t{1}, units}, code);
}

char16_t* units_in(const array_ptr& row) noexcept { return static_cast<char16_t*>(row->pdata); }

// A row for a text that may be of a kind. A text of another kind has another length: whether that is too long is told elsewhere, and
// null is the answer here.
template <class IsOfKind>
array_ptr row_for(std::size_t units, IsOfKind&& is_of_kind) {
    try {
        return blank_row(units);
    } catch (const std::exception&) {
        if (is_of_kind()) throw;
        return nullptr;
    }
}

// The row of a text that is ASCII from end to end; null for any other.
array_ptr ascii_row(std::string_view text) {
    if (!fl::i18n::is_ascii(text.substr(0, stack_units))) return nullptr;
    array_ptr row = row_for(text.size(), [=] { return fl::i18n::is_ascii(text); });
    if (!row) return nullptr;
    const std::size_t ascii = fl::i18n::widen_ascii(units_in(row), text.data(), text.size());
    return ascii == text.size() ? std::move(row) : nullptr;
}

// The row of well-formed UTF-8 that is believed to be UTF-8; null for any other text.
array_ptr believed_row(std::string_view text, bool (*believed)(std::u16string_view)) {
    if (text.size() <= stack_units) {
        stack_buffer units; // NOLINT: filled as far as it is read
        const auto count = fl::i18n::utf8_to_utf16(text, units.data(), units.size());
        if (!count || !believed({units.data(), *count})) return nullptr;
        return create_string({units.data(), *count});
    }
    const std::size_t room = fl::i18n::utf16_length(text);
    if (room == 0 || room > text.size()) return nullptr;
    array_ptr row = row_for(room, [=] { return fl::i18n::is_utf8(text); });
    if (!row) return nullptr;
    const auto count = fl::i18n::utf8_to_utf16(text, units_in(row), room);
    return count && believed({units_in(row), *count}) ? std::move(row) : nullptr;
}

array_ptr utf8_row(std::string_view text, bool (*believed)(std::u16string_view)) {
    if (array_ptr row = ascii_row(text)) return row;
    return believed_row(text, believed);
}

// The process ends here unless internal checks are off; then what isn't UTF-8 is substituted. The message has all bytes, NULs too.
array_ptr row_of_broken_utf8(std::string_view text) {
    foundation::core::diag::check(false, "ndCreateString called with non-UTF-8 input: " + std::string(text));
    std::u16string units(text.size(), u'\0');
    units.resize(fl::i18n::utf8_to_utf16_substituting(text, units.data()));
    return create_string(units);
}

array_ptr encoded_row(std::string_view text, const char* encoding) {
    stack_buffer units; // NOLINT: filled as far as it is read
    const auto convert = [=](char16_t* to, std::size_t room) {
        return converting([&] { return enc_to_utf16_n(encoding, text.data(), text.size(), to, room); });
    };
    const std::size_t count = convert(units.data(), units.size());
    if (count <= units.size()) return create_string({units.data(), count});
    array_ptr row = blank_row(count);
    convert(units_in(row), count);
    return row;
}

} // namespace

void check_text_size(std::size_t bytes) {
    if (bytes > longest_encoded_text) errors::raise<TARVEL::legacy_two_part::pmaxsize>();
}

array_ptr create_string(std::u16string_view text) {
    if (text.empty()) return matrix::detail::do_create_char(std::array<std::size_t, 2>{0, 0});
    array_ptr row = blank_row(text.size());
    std::copy(text.begin(), text.end(), units_in(row));
    return row;
}

array_ptr create_string(std::string_view text, const char* encoding) {
    check_text_size(text.size());
    if (text.empty()) return create_string(std::u16string_view());
    if (encoding != nullptr && encoding == only_utf8) {
        array_ptr row = utf8_row(text, [](std::u16string_view) { return true; });
        return row ? std::move(row) : row_of_broken_utf8(text);
    }
    if (encoding == nullptr || encoding != utf8_or_system) return encoded_row(text, encoding);
    array_ptr row =
        utf8_row(text, [](std::u16string_view units) { return !is_system_text_in_disguise(units); });
    return row ? std::move(row) : encoded_row(text, nullptr);
}

} // namespace matrix::internal

namespace matrix::detail {

using namespace internal;

namespace {

template <class Byte>
std::string_view bytes_of(const Byte* text, std::size_t n) noexcept {
    return {reinterpret_cast<const char*>(text), text == nullptr ? 0 : n};
}

// The way of most text: short and ASCII, which is the same in UTF-8 and in whatever else is tried. Null for other text and where no
// pair is ready.
[[gnu::always_inline]] inline ndArray_tag* ascii_at_once(std::string_view text) noexcept {
    ndArray_tag* const row =
        take_ready_pair(code_of(ndCHAR_CLASS, false), 1, text.size(), DataInitialization::uninitialized);
    if (row == nullptr) return nullptr;
    auto* const units = static_cast<char16_t*>(row->pdata);
    if (fl::i18n::widen_ascii(units, text.data(), text.size()) == text.size()) [[likely]]
        return row;
    const array_ptr ended(row);
    return nullptr;
}

} // namespace

template <class Byte>
ndArray_tag* NdCreateStringNCharsT_safe(const Byte* text, std::size_t n, const char* encoding) {
    return framed_creator([=] { return create_string(bytes_of(text, n), encoding); });
}

template ndArray_tag* NdCreateStringNCharsT_safe<char>(const char*, std::size_t, const char*);
template ndArray_tag* NdCreateStringNCharsT_safe<unsigned char>(const unsigned char*, std::size_t,
                                                                const char*);

namespace noninlined::nd_array_api {

namespace {

constexpr char16_t colon = u':';

std::size_t length_of(const unsigned char* text) noexcept {
    return text_or_nothing(reinterpret_cast<const char*>(text)).size();
}

} // namespace

ndArray_tag* ndCreateCharArray(std::size_t ndim, const std::size_t* dims) {
    return framed_creator([=] { return do_create_char({dims, ndim}); });
}

ndArray_tag* ndCreateString(const char* text) {
    return ndCreateStringFromNChars(text, text_or_nothing(text).size());
}

ndArray_tag* ndCreateStringFromNChars(const char* text, std::size_t n) {
    if (utf8_is_known_to_be_tried()) {
        if (ndArray_tag* const row = ascii_at_once(bytes_of(text, n))) return as_temporary(row);
    }
    return framed_creator([=] { return create_string(bytes_of(text, n), default_text_encoding()); });
}

ndArray_tag* ndCreateString_UTF8(const unsigned char* text) {
    return ndCreateStringFromNChars_UTF8(text, length_of(text));
}

ndArray_tag* ndCreateStringFromNChars_UTF8(const unsigned char* text, std::size_t n) {
    if (ndArray_tag* const row = ascii_at_once(bytes_of(text, n))) return as_temporary(row);
    return NdCreateStringNCharsT_safe(text, n, only_utf8.data());
}

ndArray_tag* ndCreateString_UTF16(const char16_t* text) {
    return ndCreateStringFromNChars_UTF16(text, text == nullptr ? 0 : utf16_strlen(text));
}

ndArray_tag* ndCreateStringFromNChars_UTF16(const char16_t* text, std::size_t n) {
    return framed_creator([=] {
        return create_string(text == nullptr ? std::u16string_view() : std::u16string_view(text, n));
    });
}

ndArray_tag* ndCreateColonIndex() {
    return framed_creator([] { return create_string({&colon, 1}); });
}

bool ndIsColonIndex(const ndArray_tag* array) {
    return array->class_id == ndCHAR_CLASS && element_count(array) == 1 && array->pdata != nullptr &&
           *static_cast<const char16_t*>(array->pdata) == colon;
}

} // namespace noninlined::nd_array_api
} // namespace matrix::detail
