/*
 * Text of the library for a terminal.
 */
#ifndef ND_TOOLS_UTF8_HPP
#define ND_TOOLS_UTF8_HPP

#include <string>
#include <string_view>

namespace nd_host {

/// text in UTF-8; a surrogate that stands alone becomes U+FFFD.
std::string utf8(std::u16string_view text);

} // namespace nd_host

#endif
