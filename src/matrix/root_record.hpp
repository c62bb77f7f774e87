// Containment records: who holds an array, and what hangs from it.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Follows a change of scope: a record knows whether its array is a member or property.
void update_root_for_scope(ndArray_tag* array);

/// Hangs the record of an element from that of the container which holds it. Raises std::bad_alloc; nothing has changed then.
void add_root_container(ndArray_tag* element, const ndArray_tag* container);

/// Lets the record of an array that leaves its container hang from nothing.
void unroot_array(ndArray_tag* array) noexcept;

/// Whether an array's record hangs from the container's already.
bool is_rooted_in(const ndArray_tag* array, const ndArray_tag* container) noexcept;

/// Whether an array may be part of a reference cycle: its record knows; without one a function handle may.
bool has_cycle_detection_contents(const ndArray_tag* array) noexcept;

/// Whether what is put into a container counts as referenced from inside.
bool should_contain_internal_reference(const ndArray_tag* container) noexcept;

/// The mark of the older object system in an array's record.
bool is_referenced_by_old_system(const ndArray_tag* array) noexcept;

/// Detaches the record from a dying array and drops the array's hold on it.
void release_root_record(ndArray_tag* array) noexcept;

/// Gives the copy of an array that can hold references a record and, when the two are going to share data, prepares the ring
/// of the two. Raises std::bad_alloc; the source's links haven't changed then.
void make_shared_roots(ndArray_tag* source, ndArray_tag* copy, bool share_data);

/// Links the copy into the source's ring, as make_shared_roots prepared it.
void join_root_ring(ndArray_tag* source, ndArray_tag* copy) noexcept;

/// Takes an array that no longer shares its data out of the ring.
void leave_root_ring(ndArray_tag* array) noexcept;

/// Sharers are going to move to a copy of their block: what the ring of those that move needs, null when the first of them
/// moves alone. Each of them leaves the old ring on its own. Raises std::bad_alloc; no link has changed then.
RootRecord* prepare_moved_ring(const ndArray_tag* first, bool others_follow);
void discard_moved_ring(RootRecord* prepared) noexcept;

struct moved_ring_deleter {
    void operator()(RootRecord* prepared) const noexcept { discard_moved_ring(prepared); }
};

/// The first has left the old ring and has the copy: the elements hang from it, or from prepared, which is spent, when others
/// follow. Those join by join_root_ring.
void begin_moved_ring(ndArray_tag* first, RootRecord* prepared) noexcept;

/// Whether the record can simply be cut from its ring: nothing below the array depends on it.
bool can_leave_root_ring(const ndArray_tag* array) noexcept;

/// A copy takes the place of an array: what was related to the array's record is related to the copy's.
void move_root_relations(ndArray_tag* array, ndArray_tag* copy) noexcept;

/// dest takes over the value of src: dest's record stays with it and src's is merged into it, or src's moves over.
void move_root_record(ndArray_tag* src, ndArray_tag* dest) noexcept;

} // namespace matrix::internal
