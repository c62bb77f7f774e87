/*
 * Texts and names out of arrays, so that none can upset a terminal or be mistaken for something else.
 */
#ifndef ND_TOOLS_QUOTED_TEXT_HPP
#define ND_TOOLS_QUOTED_TEXT_HPP

#include <string>
#include <string_view>

namespace nd_host {

/// text in UTF-8 between single quotes. A quote and a backslash have a backslash in front; line end, return and tab are \n, \r
/// and \t, other control characters \x and two hexadecimal digits.
std::string in_quotes(std::u16string_view text);

/// A name in UTF-8 as it is; its control characters, and bytes that are no UTF-8, as the control characters in in_quotes().
std::string printable(std::string_view name);

} // namespace nd_host

#endif
