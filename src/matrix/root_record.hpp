// Containment records: who holds an array, and what hangs from it.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Follows a change of scope: a record knows whether its array is a member or property.
void update_root_for_scope(ndArray_tag* array);

/// Detaches the record from a dying array and drops the array's hold on it.
void release_root_record(ndArray_tag* array) noexcept;

/// Gives the copy of an array that can hold references a record and, when the two are going to share data, prepares the ring
/// of the two. Raises std::bad_alloc; the source's links haven't changed then.
void make_shared_roots(ndArray_tag* source, ndArray_tag* copy, bool share_data);

/// Links the copy into the source's ring, as make_shared_roots prepared it.
void join_root_ring(ndArray_tag* source, ndArray_tag* copy) noexcept;

/// Takes an array that no longer shares its data out of the ring.
void leave_root_ring(ndArray_tag* array) noexcept;

/// Whether the record can simply be cut from its ring: nothing below the array depends on it.
bool can_leave_root_ring(const ndArray_tag* array) noexcept;

/// Makes the element's record hang from the container's. Raises std::bad_alloc.
void add_root_container(ndArray_tag* element, const ndArray_tag* container);

/// A copy takes the place of an array: what was related to the array's record is related to the copy's.
void move_root_relations(ndArray_tag* array, ndArray_tag* copy) noexcept;

/// dest takes over the value of src: dest's record stays with it and src's is merged into it, or src's moves over.
void move_root_record(ndArray_tag* src, ndArray_tag* dest) noexcept;

} // namespace matrix::internal
