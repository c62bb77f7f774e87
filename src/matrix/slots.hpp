// Putting arrays into the slots of cells, structs and objects.
//
// A slot owns one reference of what stands in it, and that has member scope. An element may have more owners: whoever writes
// through a slot unshares it first. The container is changed through its header; its caller has unshared it.
#pragma once

#include "matrix/containers.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Puts value, of which one reference is handed over, into a slot; what stood there is neither destroyed nor released. A value
/// that has other owners goes in as a shared copy. Null empties the slot. Raises std::bad_alloc; nothing has changed then and
/// the caller keeps its reference.
void set_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value);

/// The same, and what stood in the slot loses the slot's reference. The element itself, without a reference of the caller's,
/// stays where it is.
void replace_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value);

/// The same two for a value whose reference the caller keeps.
void set_copy_in_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value);
void replace_copy_in_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value);

} // namespace matrix::internal
