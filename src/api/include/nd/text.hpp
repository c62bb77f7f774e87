/*
 * nd/text.hpp: char arrays from text and text from char arrays, for code in the engine's process.
 *
 * A char array holds UTF-16 code units by column. There is no terminator in it, and a NUL is a unit like any other; what makes
 * C strings stops at the first one. Strings are rows, the empty string is 0x0.
 *
 * Encodings. Text comes and goes
 *   as the caller's bytes   read as UTF-8, and as the system's encoding where they aren't UTF-8; written in the system's. Which that is
 *                           the locale says. KV_DISABLE_UTF8_API at an odd number: read as the system's always.
 *   as UTF-8                no other bytes may come: what isn't well-formed ends the process, where internal checks are on. The rows of
 *                           char matrices alone take any bytes.
 *   as UTF-16               unit by unit, unpaired surrogates too
 * What doesn't convert becomes the substitution character of the encoding, an unpaired surrogate U+FFFD where the encoding has that.
 * In some systems the caller's bytes often are well-formed UTF-8 by chance. Which these are, and which bytes are read as the system's
 * there, is told with ndCreateString in nd/nd.h.
 *
 * The functions of nd_array_api answer null (an empty text, 1 for a status) for what isn't a char array, and have the interface's way out
 * of errors: exceptions with module mode 1, null or an empty text in any other. Those of matrix raise. Null for text counts as the
 * empty text.
 */
#ifndef ND_TEXT_HPP
#define ND_TEXT_HPP

#include <nd/array.hpp>
#include <nd/from_utf16_converter.hpp>

#include <string>
#include <vector>

namespace matrix {

/// All UTF-16 units of a char array by column; empty for null, another class and an array without elements.
ND_EXPORT std::u16string get_ustring(const ndArray_tag* array);

/// The same text in UTF-8, in the encoding of a converter, and in wide characters, where a pair of surrogates is one and an unpaired
/// one becomes U+FFFD. Raises TARVEL:invalidInput when the converter's encoding doesn't exist.
ND_EXPORT std::string get_string(const ndArray_tag* array);
ND_EXPORT std::string get_string(const ndArray_tag* array, I18N::FromUTF16Converter& converter);
ND_EXPORT std::wstring get_wstring(const ndArray_tag* array);

/// The rows of a char matrix, padding included, or get_ustring of each element of a cell. Nothing for null, other classes, char
/// arrays of more than two dimensions and those without elements.
ND_EXPORT std::vector<std::u16string> get_ustring_array(const ndArray_tag* array);

/// The same in UTF-8 and in wide characters.
ND_EXPORT std::vector<std::string> get_string_array(const ndArray_tag* array);
ND_EXPORT std::vector<std::wstring> get_wstring_array(const ndArray_tag* array);

/// Writes the text of get_string or get_wstring, without a terminator, as far as there is room for size units, and answers how many
/// were written. The last character may be cut. Raises as get_string does.
ND_EXPORT std::size_t copy_string(char* dest, std::size_t size, const ndArray_tag* array);
ND_EXPORT std::size_t copy_string(char* dest, std::size_t size, const ndArray_tag* array,
                                  I18N::FromUTF16Converter& converter);
ND_EXPORT std::size_t copy_wstring(wchar_t* dest, std::size_t size, const ndArray_tag* array);

/// The size that these need for the whole text.
ND_EXPORT std::size_t get_destination_string_size(const ndArray_tag* array);
ND_EXPORT std::size_t get_destination_string_size(const ndArray_tag* array,
                                                  I18N::FromUTF16Converter& converter);
ND_EXPORT std::size_t get_destination_wstring_size(const ndArray_tag* array);

/// What C strings are made with, and what frees them: functions like ndMallocEx and ndFreeEx. Null from the allocator is out of
/// memory.
using text_allocator = void* (*)(std::size_t);
using text_release = void (*)(void*);

namespace detail {

/// A char row of n bytes in an encoding: "auto" (UTF-8 or else the system's), "UTF-8", null (the system's) or another name that ICU
/// knows. An array as nd_array_api makes it. Raises TARVEL:pmaxsize for more than 2^30 - 1 bytes, before any is read,
/// TARVEL:invalidInput when there is no such encoding, and what creators raise. For char and unsigned char.
template <class Byte>
ND_EXPORT ndArray_tag* NdCreateStringNCharsT_safe(const Byte* text, std::size_t n, const char* encoding);

extern template ndArray_tag* NdCreateStringNCharsT_safe<char>(const char* text, std::size_t n,
                                                              const char* encoding);
extern template ndArray_tag* NdCreateStringNCharsT_safe<unsigned char>(const unsigned char* text,
                                                                       std::size_t n, const char* encoding);

namespace noninlined::nd_array_api {

/// An N-d char array of zero units. Raises what creators raise.
ND_EXPORT ndArray_tag* ndCreateCharArray(std::size_t ndim, const std::size_t* dims);

/// A char row of the caller's bytes: those before the NUL, or n of them. Raises as NdCreateStringNCharsT_safe does.
ND_EXPORT ndArray_tag* ndCreateString(const char* text);
ND_EXPORT ndArray_tag* ndCreateStringFromNChars(const char* text, std::size_t n);

/// The same from UTF-8.
ND_EXPORT ndArray_tag* ndCreateString_UTF8(const unsigned char* text);
ND_EXPORT ndArray_tag* ndCreateStringFromNChars_UTF8(const unsigned char* text, std::size_t n);

/// The same from UTF-16 code units. Raises what creators raise.
ND_EXPORT ndArray_tag* ndCreateString_UTF16(const char16_t* text);
ND_EXPORT ndArray_tag* ndCreateStringFromNChars_UTF16(const char16_t* text, std::size_t n);

/// A char matrix with a string in each of m rows, as wide as the longest, the others with zero units behind them; 0x0 for m = 0. The
/// first two take UTF-8 and substitute what isn't well-formed. Raises TARVEL:pmaxsize for a string of more than 2^30 - 1 bytes, and
/// what creators raise.
ND_EXPORT ndArray_tag* ndCreateCharMatrixFromStrings(std::size_t m, const char** strings);
ND_EXPORT ndArray_tag* ndCreateCharMatrixFromStrings_UTF8(std::size_t m, const unsigned char** strings);
ND_EXPORT ndArray_tag* ndCreateCharMatrixFromStrings_UTF16(std::size_t m, const char16_t** strings);

/// The text up to its first NUL as a C string, in the system's encoding, in UTF-8 and in UTF-16. The caller owns the block. Raises
/// SizeLimitExceeded for 2^31 elements or more, TARVEL:nomem when the allocator gives no block.
ND_EXPORT char* ndCreateCStrFromArray(const ndArray_tag* array, text_allocator allocator);
ND_EXPORT unsigned char* ndCreateUTF8CStrFromArray(const ndArray_tag* array, text_allocator allocator);
ND_EXPORT char16_t* ndCreateUTF16CStrFromArray(const ndArray_tag* array, text_allocator allocator);

/// The same in a block of ndMallocEx, which ends with ndFreeEx: UTF-8, UTF-8 and UTF-16.
ND_EXPORT char* ndArrayToString(const ndArray_tag* array);
ND_EXPORT unsigned char* ndArrayToString_UTF8(const ndArray_tag* array);
ND_EXPORT char16_t* ndArrayToString_UTF16(const ndArray_tag* array);

/// The same text in the system's encoding and in UTF-8.
ND_EXPORT std::string ndArrayToStdString(const ndArray_tag* array);
ND_EXPORT std::string ndArrayToUTF8StdString(const ndArray_tag* array);

/// A uint8 array of the bytes that the whole text has in the system's encoding: a row where the text has one row, else a column.
/// Raises what creators raise.
ND_EXPORT ndArray_tag* ndArrayToByteChars(const ndArray_tag* array);

/// The rows of a char array as C strings without the blanks and NULs at their ends, in a table that a null ends. Of more than two
/// dimensions those behind the first count as columns. The caller owns the table and each string: blocks of the allocator, or of
/// ndMallocEx. Raises SizeLimitExceeded for 2^31 elements or more, TARVEL:pmaxsize and SizeLimitExceeded for the table as for an array
/// of as many bytes, and TARVEL:nomem; what was made goes to release then.
ND_EXPORT char16_t** ndCreateUTF16CStrArrayFromMatrix(const ndArray_tag* array, text_allocator allocator,
                                                      text_release release);
ND_EXPORT char16_t** ndCharMatrixToStrings_UTF16(const ndArray_tag* array);
ND_EXPORT unsigned char** ndCharMatrixToStrings_UTF8(const ndArray_tag* array);

namespace deprecated {

/// Writes the text in the system's encoding, all of it by column, into a buffer of size bytes. ndGetString ends it with a NUL. 0 when
/// all of it is there, and when there is no buffer or size is 0. 1 when it was cut, which may be inside a character; when it can't be
/// converted, for want of memory or of a converter, as if it had been cut before its first character; and with nothing written, not
/// even the NUL, for what isn't a char array. Never raises.
ND_EXPORT int ndGetString(const ndArray_tag* array, char* buffer, std::size_t size);
ND_EXPORT int ndGetNChars(const ndArray_tag* array, char* buffer, std::size_t size);

} // namespace deprecated
} // namespace noninlined::nd_array_api
} // namespace detail
} // namespace matrix

#endif
