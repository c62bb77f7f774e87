// The characters of UTF-16 text.
#pragma once

#include <string_view>

namespace fl::i18n {

/// What stands for text that isn't well-formed.
inline constexpr char32_t substitute = 0xFFFD;

constexpr bool is_lead_surrogate(char16_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }
constexpr bool is_trail_surrogate(char16_t unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

/// Takes the first character off text, which isn't empty; an unpaired surrogate is substituted.
constexpr char32_t take_character(std::u16string_view& text) noexcept {
    const char16_t first = text.front();
    const bool is_lead = is_lead_surrogate(first);
    if (is_lead && text.size() > 1 && is_trail_surrogate(text[1])) {
        const char16_t second = text[1];
        text.remove_prefix(2);
        return 0x10000U + ((first & 0x3FFU) << 10U) + (second & 0x3FFU);
    }
    text.remove_prefix(1);
    return is_lead || is_trail_surrogate(first) ? substitute : char32_t{first};
}

} // namespace fl::i18n
