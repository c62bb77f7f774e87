// Values of the model of subscripts as real arrays, and back.
#pragma once

#include "model/indexing_model.hpp"

#include <nd/create.hpp>

namespace model {

/// Counts what function handles and elements of opaque arrays hold. While it lives opaque elements can be copied.
class counted_contents {
public:
    counted_contents();
    ~counted_contents();
    counted_contents(const counted_contents&) = delete;
    counted_contents& operator=(const counted_contents&) = delete;

    long count() const noexcept;
};

/// A new array of the value. A range becomes a colon object. Slots hold doubles, cells around one, function handles and opaque arrays: the
/// number tells which. Such contents are to be counted.
matrix::array_ptr real_array(const value& expected);

/// Where the array isn't the value; empty when it is.
std::string difference(const value& expected, const ndArray_tag* real);

/// "int8 2x3 {1, 2, 3, 4, 5, 6}", "':'", "range 1:2:9", for the story of a program.
std::string text_of(const value& v);

/// What a slot holds, as its number.
std::uint64_t number_in(const ndArray_tag* slot);

} // namespace model
