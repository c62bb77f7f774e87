/*
 * [a b; c d] and {a, b; c, d}: parts side by side in rows, rows one below the other.
 *
 * [...] takes matrices. The class of the result is the first of these that fits: cell when a part is a cell (others become an element
 * each), char, the first integer class, single, double, logical. [] among the parts doesn't count. Sparse parts become full.
 * {...} gives a cell with an element for each part.
 */
#ifndef ND_TOOLS_EVAL_BRACKETS_HPP
#define ND_TOOLS_EVAL_BRACKETS_HPP

#include "eval/values.hpp"

#include <vector>

namespace nd_host::eval {

/// The parts of the rows from top to bottom, each from left to right; they are used up.
using part_rows = std::vector<std::vector<array_ptr>>;

/// [...]. Raises notation_error (dimensions, operands), and what conversions and creators raise.
array_ptr matrix_of(part_rows rows);

/// {...}. Raises notation_error (dimensions), and what creators raise.
array_ptr cell_of(part_rows rows);

/// 1x1 cell with value in its slot.
array_ptr cell_around(array_ptr value);

} // namespace nd_host::eval

#endif
