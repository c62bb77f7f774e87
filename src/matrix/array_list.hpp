// The list of temporaries of the current engine: what an exported creator returned and nobody has claimed yet.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Puts the array on the current context's list. False when no list is kept, and the array then isn't a temporary.
bool add_to_array_list(ndArray_tag* array);

/// Takes the array off the list.
void remove_from_array_list(ndArray_tag* array) noexcept;

} // namespace matrix::internal
