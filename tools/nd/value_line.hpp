/*
 * The elements of an array on one line, as they stand behind its size and class in a tree.
 *
 *   one element        5
 *   row, column        [1 2 3]   [1; 2; 3]
 *   matrix             [1 2; 3 4]
 *   more dimensions    page by page: [1 2; 3 4] [5 6; 7 8]
 *   text               'abc', several rows ['abc'; 'def']
 *
 * Floating-point numbers have six digits, logical values are 0 and 1. Of more than 12 elements of a row or column the first 8 and
 * the last 2 are shown; of more than 4 rows of a matrix the first 2 and the last, of more than 6 columns the first 4 and the
 * last; of more than 3 pages the first 2 and the last; of a text of more than 72 units the first 60.
 */
#ifndef ND_TOOLS_VALUE_LINE_HPP
#define ND_TOOLS_VALUE_LINE_HPP

#include "array_view.hpp"

#include <string>

namespace nd_host {

/// The elements; empty for an array without elements and for one whose elements are neither numbers nor text. whole asks for all.
std::string value_line(const array_view& array, bool whole);

} // namespace nd_host

#endif
