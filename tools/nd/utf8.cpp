#include "utf8.hpp"

#include <nd/from_utf16_converter.hpp>

namespace nd_host {

namespace {

// How long the characters are that begin with a byte, and the lowest and highest byte that may come second: neither longer forms of
// shorter characters nor surrogates nor what lies beyond U+10FFFF. All further bytes are from 0x80 to 0xBF.
struct first_byte {
    unsigned from, to;
    std::size_t length;
    unsigned lowest, highest;
};
constexpr first_byte first_bytes[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool follows(const first_byte& first, std::string_view text) noexcept {
    for (std::size_t i = 1; i < first.length; ++i) {
        const auto byte = static_cast<unsigned char>(i < text.size() ? text[i] : '\0');
        const bool second = i == 1;
        if (byte < (second ? first.lowest : 0x80) || byte > (second ? first.highest : 0xBF)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string utf8(std::u16string_view text) { return I18N::FromUTF16Converter("UTF-8").convert(text); }

std::size_t character_length(std::string_view text) noexcept {
    const unsigned byte = text.empty() ? 0x80U : static_cast<unsigned char>(text[0]);
    for (const first_byte& first : first_bytes) {
        if (byte >= first.from && byte <= first.to) {
            return follows(first, text) ? first.length : 0;
        }
    }
    return 0;
}

} // namespace nd_host
