/*
 * nd/names.hpp: the rule that names of saved variables and of struct fields obey.
 *
 * A name has 1 to 2048 bytes: a letter, then letters, digits and underscores, all of ASCII. No locale applies, and no byte from
 * 0x80 on belongs to a name, so a valid name has as many bytes as characters. The tests read the name and nothing else, can't
 * fail and may run on any thread.
 */
#ifndef ND_NAMES_HPP
#define ND_NAMES_HPP

#include <nd/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace matrix {

/// Length of the longest name.
inline constexpr std::size_t longest_rec_name = 2048;

namespace detail::noninlined::nd_array_api {

/// An ASCII letter.
ND_EXPORT bool ndIsValidFirstCharInRecName(char c);

/// An ASCII letter or digit, or an underscore.
ND_EXPORT bool ndIsValidSubsequentCharInRecName(char c);

/// Whether the whole text is a name. Null and the empty text aren't; neither is a string with a zero byte in it.
ND_EXPORT bool ndIsValidRecName(const char* name);
ND_EXPORT bool ndIsValidRecName(const std::string& name);
ND_EXPORT bool ndIsValidRecName(const std::u16string& name);

/// Whether the first length bytes are a name. No byte behind them is read; null isn't a name.
ND_EXPORT bool ndIsValidRecNamePart(const char* name, std::uint64_t length);

/// How many bytes at the beginning could begin a name, or be one: 0 for null, the empty text and a bad first byte, else the
/// position of the first bad byte, or the length. Text of any length is looked at.
ND_EXPORT std::uint64_t ndIsValidRecNameCount(const char* name);

/// The same of the first length bytes.
ND_EXPORT std::uint64_t ndIsValidRecNamePartCount(const char* name, std::uint64_t length);

/// Cuts text of more than 2048 units (bytes, or 16-bit units) down to 2048 and tells of it by the warning
/// TARVEL:namelengthmaxexceeded, with the full text, 2048 and the shortened text as its arguments. True when it did; shorter
/// text and null are left alone, without a warning. Whether the text is a name isn't asked, and a character of several units
/// may be cut in two.
/// Raises what a warning raises (nd/warnings.hpp) and std::bad_alloc; the text is then unchanged.
ND_EXPORT bool ndTruncateRecName(std::string& name);
ND_EXPORT bool ndTruncateRecName(std::u16string& name);
ND_EXPORT bool ndTruncateRecName(char* name);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
