// The scope of an array: the only door to the array list. An array stands on the list exactly while its scope is temporary.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Changes the scope. A new scope of temporary puts the array on the array list, and is stored as local when no list takes
/// it; leaving temporary takes the array off. Raises what adding to the list raises; the array is then unchanged.
void set_scope(ndArray_tag* array, ndVariableScope scope);

} // namespace matrix::internal
