// Translated catalogs: files that are read when a message of theirs is first wanted, and kept.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fl::i18n::detail {

// Sets the install path and forgets what was read. A path that is too long counts as none.
void set_translation_root(const char* install_path) noexcept;

// The pattern of a message in the catalog file of exactly that locale ("de_CH", "de"), if there is one.
std::optional<std::string> translated_pattern(std::string_view locale, std::string_view catalog,
                                              std::string_view key);

} // namespace fl::i18n::detail
