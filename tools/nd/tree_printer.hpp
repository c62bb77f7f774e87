/*
 * A result that isn't a matrix of numbers, as a tree for the eye: one line for each value, what a container holds indented below.
 *
 *   output 1: 1x1 struct
 *     mag: 1x3 double [4.8 4.2 5.4]
 *     place: 1x4 char 'Fiji'
 *     parts: 1x2 cell
 *       {1}: 2x2 int8 [1 2; 3 4]
 *       {2}: empty                    a slot that holds no array
 *     links: 9x9 sparse double, 1 stored
 *       (2,3)  0.5                    and a picture of the pattern (sparse_text.hpp)
 *
 * Elements are named as one writes them: {3} in a row or column of cells, {2,1} else, field in a 1x1 struct, (3).field in others.
 * What stands behind size and class is value_line's. A value without a form of its own (a function, a value of an outside class,
 * a sparse array whose vectors don't fit) is told by size and class.
 *
 * Stated limits, in brackets what they are when all is asked for: 100 lines (100,000); 10 levels (100), below which a container
 * has "..." in place of what it holds; of more than 20 elements the first 12 and the last 3, of more than 40 fields the first 30
 * and the last 5 (all). So a result of any size and depth, and one in which the same array stands in many places, has an end.
 */
#ifndef ND_TOOLS_TREE_PRINTER_HPP
#define ND_TOOLS_TREE_PRINTER_HPP

#include <nd/engine.hpp>

#include <string>

namespace nd_host {

/// The tree as text that ends in a line end.
std::string tree_text(const std::string& title, const ndArray_tag& value, bool whole);

} // namespace nd_host

#endif
