// Growth of a left side whose new elements have a value other than zero.
#pragma once

#include "indexing/growth.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// grow_left_side with the first element of filler in each new element. filler is of the array's class, real or complex; null, or an
/// array without elements, for zeros. The imaginary part of a complex value is left out where the array is real. Slots share
/// the element as an assignment does. A new function handle is empty, whatever filler says.
/// Raises, with the array's value unchanged, what grow_left_side does, TARVEL:legacy_two_part:invalidConversion for a filler of
/// another class and what copying an element raises.
void grow_with_filler(ndArray_tag* array, left_side_growth change, array_ptr filler);

} // namespace matrix::internal
