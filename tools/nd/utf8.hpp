/*
 * Text of the library for a terminal, and text from outside for the library.
 */
#ifndef ND_TOOLS_UTF8_HPP
#define ND_TOOLS_UTF8_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace nd_host {

/// text in UTF-8; a surrogate that stands alone becomes U+FFFD.
std::string utf8(std::u16string_view text);

/// Bytes of the UTF-8 character that text begins with; 0 when it begins with none, or is empty.
std::size_t character_length(std::string_view text) noexcept;

} // namespace nd_host

#endif
