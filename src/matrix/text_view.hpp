// The text of a char array where it lies.
#pragma once

#include "matrix/dimensions.hpp"

#include <string_view>

namespace matrix::internal {

inline bool is_char(const ndArray_tag* array) noexcept {
    return array != nullptr && array->class_id == ndCHAR_CLASS;
}

/// All code units by column; none for null, another class and an array without data. Valid till the array changes.
inline std::u16string_view text_of(const ndArray_tag* array) noexcept {
    if (!is_char(array) || array->pdata == nullptr) return {};
    return {static_cast<const char16_t*>(array->pdata), element_count(array)};
}

/// Bytes that a NUL ends; none for null.
inline std::string_view text_or_nothing(const char* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

} // namespace matrix::internal
