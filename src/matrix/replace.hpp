// A copy in the place of one owner's reference.
#pragma once

#include "matrix/root_record.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Puts copy, not null, in the place of a reference to array: the copy gets its scope and root relations, array loses one owner.
/// Returns the copy, which the caller owns. Raises what the array list raises; array is then unchanged.
ndArray_tag* replace_array(ndArray_tag* array, array_ptr copy);

} // namespace matrix::internal
