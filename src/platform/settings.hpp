// Settings in environment variables: "name=number,name=number", numbers decimal or with 0x in front.
// An entry of another form is passed over: a mistyped diagnostic setting must not stop the program.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>

namespace foundation {

inline std::optional<std::uint32_t> parse_setting_number(std::string_view text) noexcept {
    int base = 10;
    if (text.substr(0, 2) == "0x") {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

// Calls use(std::string_view name, std::uint32_t value) for each entry, in their order.
template <class Use>
void for_each_setting(const char* variable, Use&& use) {
    const char* const text = std::getenv(variable);
    if (text == nullptr) return;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t comma = rest.find(',');
        const std::string_view entry = rest.substr(0, comma);
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
        const std::size_t equals = entry.find('=');
        if (equals == std::string_view::npos) continue;
        if (const auto number = parse_setting_number(entry.substr(equals + 1))) {
            use(entry.substr(0, equals), *number);
        }
    }
}

} // namespace foundation
