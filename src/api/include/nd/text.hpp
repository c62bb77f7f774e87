/*
 * nd/text.hpp: text in char arrays, for code in the engine's process.
 */
#ifndef ND_TEXT_HPP
#define ND_TEXT_HPP

#include <nd/array.hpp>

#include <string>
#include <vector>

namespace matrix {

/// All UTF-16 units of a char array by column; empty for null, another class and an array without elements.
ND_EXPORT std::u16string get_ustring(const ndArray_tag* array);

/// The rows of a char matrix, padding included, or get_ustring of each element of a cell. Nothing for null, other classes, char
/// arrays of more than two dimensions and those without elements.
ND_EXPORT std::vector<std::u16string> get_ustring_array(const ndArray_tag* array);

} // namespace matrix

#endif
