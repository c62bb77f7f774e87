// Patterns and arguments to text, by ICU.
#pragma once

#include <fl/i18n/message_catalog.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace fl::i18n::detail {

// The text of a UTF-8 pattern with the arguments of id in its places. Nothing if the pattern is malformed or has a
// place without an argument.
std::optional<std::u16string> format_message(std::string_view pattern, const resource_core::BaseMsgID& id,
                                             const KvLocale& locale);

// What is said of a message without a usable text: its catalog, ":", its key and its arguments.
std::u16string describe_message(const resource_core::BaseMsgID& id);

} // namespace fl::i18n::detail
