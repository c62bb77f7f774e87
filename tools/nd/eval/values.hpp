/*
 * Arrays of the notation's literals and of what is built from them. Results are owned and stand on no list; operands keep their value.
 */
#ifndef ND_TOOLS_EVAL_VALUES_HPP
#define ND_TOOLS_EVAL_VALUES_HPP

#include <nd/engine.hpp>

#include <array>
#include <complex>
#include <span>
#include <string>
#include <vector>

namespace nd_host::eval {

using matrix::array_ptr;
namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

/// 1x1 double.
array_ptr scalar(double value);

/// 1x1 complex double; real when there is no imaginary part.
array_ptr scalar(std::complex<double> value);

/// A char row of UTF-8 text; 0x0 for no text.
array_ptr text_row(const std::string& utf8);

/// 0x0 double with the mark of the literal [].
array_ptr empty_brackets();

/// The name of its class, for messages.
std::string class_name(const ndArray_tag& array);

/// A new owner's copy, which shares the data.
array_ptr copy_of(const ndArray_tag& array);

/// array, or, where an addon has left it elements without data, one of its class and size with zeros or empty slots.
array_ptr with_data(array_ptr array);

/// What a slot of a container holds, as a copy with data; an empty slot reads as 0x0 double.
array_ptr copy_of_slot(const ndArray_tag* element);

/// The value of a digits literal as the 64-bit integer class, exact, held to its limits. Nothing for one with a point or an exponent.
array_ptr integer_literal(const std::string& digits, bool minus, ndClassID cls);

/// start:step:stop; two operands leave the step out. as_object keeps it as a colon object, as subscripts want it. Raises
/// what the colon operator raises (nd/colon.hpp).
array_ptr range(std::span<const ndArray_tag* const> operands, bool as_object);

/// left operation right, for real and complex scalars of class double. Raises notation_error (operands).
array_ptr arithmetic(char operation, const ndArray_tag& left, const ndArray_tag& right);

/// -operand, for the same and for scalars of class single. Raises notation_error (operands).
array_ptr negated(const ndArray_tag& operand);

/// Rows become columns, in a matrix of any class; conjugate also turns imaginary parts about. Raises notation_error (operands).
array_ptr transposed(const ndArray_tag& operand, bool conjugate);

} // namespace nd_host::eval

#endif
