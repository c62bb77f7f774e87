// The rule of names, and the shortening of names that are too long.
//
// The tests go by numbers of code units, whatever their width: a unit beyond ASCII is bad in UTF-8 and in UTF-16 alike, so
// UTF-16 text needs no conversion.
#include <nd/names.hpp>

#include <fl/i18n/message_catalog.hpp>
#include <libbase/text.hpp>
#include <nd/messages.hpp>
#include <nd/warnings.hpp>

#include <cstring>
#include <string_view>

namespace matrix::detail::noninlined::nd_array_api {
namespace {

constexpr std::uint32_t code_unit(char c) noexcept { return static_cast<unsigned char>(c); }
constexpr std::uint32_t code_unit(char16_t c) noexcept { return c; }

template <class Char>
constexpr bool can_begin(Char c) noexcept {
    return isalpha_ascii(code_unit(c));
}

template <class Char>
constexpr bool can_follow(Char c) noexcept {
    return isalnum_ascii(code_unit(c)) || c == Char{'_'};
}

template <class Char>
constexpr std::size_t valid_prefix(std::basic_string_view<Char> text) noexcept {
    if (text.empty() || !can_begin(text.front())) return 0;
    std::size_t length = 1;
    while (length < text.size() && can_follow(text[length])) ++length;
    return length;
}

// Text that is too long is refused unread.
template <class Char>
constexpr bool is_name(std::basic_string_view<Char> text) noexcept {
    return !text.empty() && text.size() <= longest_rec_name && valid_prefix(text) == text.size();
}

const std::string& utf8_of(const std::string& text) { return text; }
std::string utf8_of(const std::u16string& text) { return fl::i18n::codecvt_ustring_to_string(text); }

template <class Char>
void warn_of_length(const std::basic_string<Char>& name) {
    const std::basic_string<Char> shortened = name.substr(0, longest_rec_name);
    ndWarningMsgId("TARVEL:namelengthmaxexceeded", TARVEL::matrix::namelengthmaxexceeded(
                                                       utf8_of(name), longest_rec_name, utf8_of(shortened)));
}

template <class Char>
bool truncate(std::basic_string<Char>& name) {
    if (name.size() <= longest_rec_name) return false;
    warn_of_length(name);
    name.resize(longest_rec_name);
    return true;
}

} // namespace

bool ndIsValidFirstCharInRecName(char c) { return can_begin(c); }

bool ndIsValidSubsequentCharInRecName(char c) { return can_follow(c); }

bool ndIsValidRecName(const char* name) { return name != nullptr && is_name(std::string_view(name)); }

bool ndIsValidRecName(const std::string& name) { return is_name(std::string_view(name)); }

bool ndIsValidRecName(const std::u16string& name) { return is_name(std::u16string_view(name)); }

bool ndIsValidRecNamePart(const char* name, std::uint64_t length) {
    return name != nullptr && is_name(std::string_view(name, length));
}

std::uint64_t ndIsValidRecNameCount(const char* name) {
    return name == nullptr ? 0 : valid_prefix(std::string_view(name));
}

std::uint64_t ndIsValidRecNamePartCount(const char* name, std::uint64_t length) {
    return name == nullptr ? 0 : valid_prefix(std::string_view(name, length));
}

bool ndTruncateRecName(std::string& name) { return truncate(name); }

bool ndTruncateRecName(std::u16string& name) { return truncate(name); }

bool ndTruncateRecName(char* name) {
    if (name == nullptr) return false;
    const std::string_view text(name);
    if (text.size() <= longest_rec_name) return false;
    warn_of_length(std::string(text));
    name[longest_rec_name] = '\0';
    return true;
}

} // namespace matrix::detail::noninlined::nd_array_api
