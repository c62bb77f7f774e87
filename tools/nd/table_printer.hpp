/*
 * A result as a table for the eye: a title, column heads, row numbers, decimal points in one line.
 *
 * Each column has the format that suits it (number_format.hpp). Long arrays are cut in the middle, unless asked for whole. Arrays
 * beyond two dimensions come page by page. An array without elements is told by its title.
 */
#ifndef ND_TOOLS_TABLE_PRINTER_HPP
#define ND_TOOLS_TABLE_PRINTER_HPP

#include "array_view.hpp"

#include <string>
#include <vector>

namespace nd_host {

/// The table as text that ends in a line end. Needs array.has_numbers(). names is empty or has one for each column; whole asks for every row and column.
std::string table_text(const std::string& title, const array_view& array,
                       const std::vector<std::string>& names, bool whole);

} // namespace nd_host

#endif
