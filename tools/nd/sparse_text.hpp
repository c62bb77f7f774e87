/*
 * A sparse array for the eye: its stored elements as a list, and a picture of where they stand.
 *
 *   (1,1)    5
 *   (12,3)   -2.5
 *   |*....|
 *   |.....|
 *   |..*..|
 *   each character stands for 4x1 elements       for an array of more than 12 rows or 48 columns
 *
 * Values have six digits. Of more than 20 elements the first 12 and the last 3 are listed. A 1x1 array has no picture, nor has one
 * that stores nothing.
 */
#ifndef ND_TOOLS_SPARSE_TEXT_HPP
#define ND_TOOLS_SPARSE_TEXT_HPP

#include "sparse_view.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace nd_host {

/// How many elements are stored, in words.
std::string stored_text(const sparse_view& array);

/// The lines, without line ends; whole asks for all stored elements, or the first most. Needs array.is_sound().
std::vector<std::string> sparse_lines(const sparse_view& array, bool whole, std::size_t most);

} // namespace nd_host

#endif
