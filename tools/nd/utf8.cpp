#include "utf8.hpp"

#include <cstddef>

namespace nd_host {

namespace {

bool is_high(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool is_low(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// The character at text[i]; i moves to its last unit.
char32_t character_at(std::u16string_view text, std::size_t& i) {
    const char16_t unit = text[i];
    if (is_high(unit) && i + 1 < text.size() && is_low(text[i + 1])) {
        const char16_t low = text[++i];
        return 0x10000U + ((static_cast<char32_t>(unit) - 0xD800U) << 10U) +
               (static_cast<char32_t>(low) - 0xDC00U);
    }
    return is_high(unit) || is_low(unit) ? char32_t{0xFFFD} : char32_t{unit};
}

} // namespace

std::string utf8(std::u16string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t c = character_at(text, i);
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        const int tail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3; // bytes that follow the first
        constexpr unsigned char first_bits[] = {0, 0xC0, 0xE0, 0xF0};
        out += static_cast<char>(first_bits[tail] | (c >> (6 * tail)));
        for (int k = tail - 1; k >= 0; --k) {
            out += static_cast<char>(0x80U | ((c >> (6 * k)) & 0x3FU));
        }
    }
    return out;
}

} // namespace nd_host
