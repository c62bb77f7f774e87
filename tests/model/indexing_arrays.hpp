// Values of the model of subscripts as real arrays, and back.
#pragma once

#include "model/indexing_model.hpp"

#include <nd/create.hpp>

namespace model {

/// A new array of the value. A range becomes a colon object. Slots hold numbers, and every third of them a cell around one.
matrix::array_ptr real_array(const value& expected);

/// Where the array isn't the value; empty when it is.
std::string difference(const value& expected, const ndArray_tag* real);

/// "int8 2x3 {1, 2, 3, 4, 5, 6}", "':'", "range 1:2:9", for the story of a program.
std::string text_of(const value& v);

/// What a slot holds, as its number.
std::uint64_t number_in(const ndArray_tag* slot);

} // namespace model
