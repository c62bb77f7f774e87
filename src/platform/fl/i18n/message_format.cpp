// Message formatting. Text arguments stand as they are; numbers are written as the locale does.
#include "message_format.hpp"

#include <unicode/fieldpos.h>
#include <unicode/fmtable.h>
#include <unicode/locid.h>
#include <unicode/messagepattern.h>
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <variant>
#include <vector>

namespace fl::i18n::detail {
namespace {

using resource_core::MsgArg;

// ICU counts in 32 bits. Nobody reads a message of this length, so longer arguments are cut.
constexpr std::size_t longest_argument = std::size_t{1} << 24;

template <class Text>
std::int32_t icu_length(const Text& text) noexcept {
    return static_cast<std::int32_t>(std::min(text.size(), longest_argument));
}

icu::UnicodeString to_icu(std::string_view utf8) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), icu_length(utf8)));
}

struct ToFormattable {
    UErrorCode& status;

    icu::Formattable operator()(const std::string& text) const { return to_icu(text); }
    icu::Formattable operator()(const std::u16string& text) const {
        return icu::UnicodeString(text.data(), icu_length(text));
    }
    icu::Formattable operator()(std::int64_t number) const { return number; }
    icu::Formattable operator()(double number) const { return number; }
    // By its digits: ICU's own integers are signed.
    icu::Formattable operator()(std::uint64_t number) const {
        return icu::Formattable(icu::StringPiece(std::to_string(number)), status);
    }
};

// For a message without a pattern: the same in all locales.
struct ToPlainText {
    icu::UnicodeString operator()(const std::string& text) const { return to_icu(text); }
    icu::UnicodeString operator()(const std::u16string& text) const {
        return {text.data(), icu_length(text)};
    }

    template <class Number>
    icu::UnicodeString operator()(Number number) const {
        char digits[32]; // holds every integer, and the shortest form of every double
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return to_icu({digits, static_cast<std::size_t>(end - digits)});
    }
};

bool has_arguments_for_all_places(const icu::UnicodeString& pattern, std::size_t count) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::MessagePattern parsed(pattern, nullptr, status);
    if (U_FAILURE(status) || parsed.hasNamedArguments()) return false;
    for (std::int32_t i = 0; i < parsed.countParts(); ++i) {
        const auto& part = parsed.getPart(i);
        if (part.getType() != UMSGPAT_PART_TYPE_ARG_NUMBER) continue;
        if (static_cast<std::size_t>(part.getValue()) >= count) return false;
    }
    return true;
}

} // namespace

std::optional<std::u16string> format_message(std::string_view pattern, const resource_core::BaseMsgID& id,
                                             const KvLocale& locale) {
    const icu::UnicodeString icu_pattern = to_icu(pattern);
    if (!has_arguments_for_all_places(icu_pattern, id.arguments().size())) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    std::vector<icu::Formattable> arguments;
    for (const MsgArg& argument : id.arguments())
        arguments.push_back(std::visit(ToFormattable{status}, argument));
    const icu::MessageFormat format(icu_pattern, icu::Locale(locale.name().c_str()), status);
    icu::UnicodeString text;
    icu::FieldPosition ignored(icu::FieldPosition::DONT_CARE);
    format.format(arguments.data(), static_cast<std::int32_t>(arguments.size()), text, ignored, status);
    if (U_FAILURE(status) || text.isBogus()) return std::nullopt;
    return std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

std::u16string describe_message(const resource_core::BaseMsgID& id) {
    icu::UnicodeString text = to_icu(id.catalog());
    text.append(u':').append(to_icu(id.key()));
    const char16_t* separator = u" (";
    for (const MsgArg& argument : id.arguments()) {
        text.append(separator).append(std::visit(ToPlainText(), argument));
        separator = u", ";
    }
    if (!id.arguments().empty()) text.append(u')');
    return std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

} // namespace fl::i18n::detail
