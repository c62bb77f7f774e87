/*
 * What becomes of the right side of x(...) = y before it is stored: the library stores values of the left side's class only.
 */
#ifndef ND_TOOLS_EVAL_RESULT_CLASS_HPP
#define ND_TOOLS_EVAL_RESULT_CLASS_HPP

#include "eval/values.hpp"

namespace nd_host::eval {

/// Whether left has no class of its own to keep: no variable yet, or the value of [].
bool gives_way(const ndArray_tag& left);

/// right as left takes it: converted to left's class, as an element of a cell, with its fields in left's order, or as it is where
/// left gives way and where the library is to refuse it. Raises what conversions raise, and notation_error (undefinedField) for
/// structs whose fields have other names.
array_ptr fitted_to(const ndArray_tag& left, array_ptr right);

} // namespace nd_host::eval

#endif
