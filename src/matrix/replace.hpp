// A copy in the place of one owner's reference.
#pragma once

#include "matrix/root_record.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Puts copy, not null, in the place of a reference to array: the copy, which has array's scope already, gets its root relations,
/// array loses one owner. Returns the copy, which the caller owns. The scope comes first since the array list may refuse the copy:
/// once that shares data with array or with what stands in its slots, nothing can fail.
ndArray_tag* replace_array(ndArray_tag* array, array_ptr copy);

/// The scope that a copy in an array's place is made with.
inline ndVariableScope scope_of(const ndArray_tag* array) noexcept {
    return static_cast<ndVariableScope>(array->scope);
}

} // namespace matrix::internal
