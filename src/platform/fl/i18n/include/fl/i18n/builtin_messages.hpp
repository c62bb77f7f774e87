// The compiled-in texts of the message catalogs. The table is declared here and filled by the library that owns the
// identifiers, above this layer; it is constant data, so texts can be had before and after everything else.
#pragma once

#include <span>
#include <string_view>

namespace fl::i18n {

struct BuiltinMessage {
    std::string_view catalog;
    std::string_view key;
    std::string_view pattern; // English, UTF-8, an ICU message pattern
};

// Ordered by catalog, then by key.
std::span<const BuiltinMessage> builtin_messages() noexcept;

} // namespace fl::i18n
