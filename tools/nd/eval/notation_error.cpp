#include "eval/notation_error.hpp"

#include "quoted_text.hpp"

#include <algorithm>

namespace nd_host::eval {

namespace {

// How wide text is on a terminal: bytes that go on with a UTF-8 character take no room.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

} // namespace

std::string marked_line(std::string_view source, std::size_t place) {
    place = std::min(place, source.size());
    const std::size_t before = source.substr(0, place).rfind('\n');
    const std::size_t first = before == std::string_view::npos ? 0 : before + 1;
    const std::string_view line = source.substr(first, source.find('\n', place) - first);
    return "  " + printable(line) + "\n  " +
           std::string(width(printable(line.substr(0, place - first))), ' ') + "^";
}

} // namespace nd_host::eval
