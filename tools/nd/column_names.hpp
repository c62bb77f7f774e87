/*
 * Names of columns as names of struct fields.
 *
 *   valid           stays as it is
 *   other           each character that no name has becomes an underscore; where the first isn't a letter, an x stands in front
 *   missing         x and the number of the column, from 1
 *   too long        is cut to 2048 bytes, and the library warns
 *   there before    a number from 2 on is added, _2, the first with which no other column has the name
 */
#ifndef ND_TOOLS_COLUMN_NAMES_HPP
#define ND_TOOLS_COLUMN_NAMES_HPP

#include <string>
#include <vector>

namespace nd_host {

/// One name for each column, valid and all different. Raises what a warning raises.
std::vector<std::string> field_names(const std::vector<std::string>& column_names);

} // namespace nd_host

#endif
