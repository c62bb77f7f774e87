#include "quoted_text.hpp"

#include "utf8.hpp"

#include <algorithm>
#include <cstddef>

namespace nd_host {

namespace {

// ASCII's, and in UTF-16 the second set of them from 0x80 on.
bool is_control(unsigned unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

template <class Text>
void append_control(Text& out, unsigned unit) {
    constexpr char digits[] = "0123456789ABCDEF";
    using letter = typename Text::value_type;
    out += letter{'\\'};
    switch (unit) {
    case '\n':
        out += letter{'n'};
        return;
    case '\r':
        out += letter{'r'};
        return;
    case '\t':
        out += letter{'t'};
        return;
    default:
        out += letter{'x'};
        out += static_cast<letter>(digits[unit >> 4U]);
        out += static_cast<letter>(digits[unit & 0xFU]);
    }
}

} // namespace

std::string in_quotes(std::u16string_view text) {
    std::u16string out = u"'";
    for (const char16_t unit : text) {
        if (is_control(unit)) {
            append_control(out, unit);
            continue;
        }
        if (unit == u'\'' || unit == u'\\') {
            out += u'\\';
        }
        out += unit;
    }
    return utf8(out + u"'");
}

std::string printable(std::string_view name) {
    std::string out;
    while (!name.empty()) {
        const std::size_t length = character_length(name);
        const bool is_second_set = length == 2 && name[0] == '\xC2'; // U+0080 to U+00BF
        const auto unit = static_cast<unsigned char>(name[is_second_set ? 1 : 0]);
        if (length == 0 || ((length == 1 || is_second_set) && is_control(unit))) {
            append_control(out, unit);
        } else {
            out += name.substr(0, length);
        }
        name.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

} // namespace nd_host
