// Containment records while none are made: root_record is null in every header.
#include "matrix/root_record.hpp"

#include <atomic>

namespace matrix::internal {

// What the records of containers would say; without records nobody but a test says so.
constinit std::atomic<bool> containers_count_internal_references{false};

void update_root_for_scope(ndArray_tag* /*array*/) {}

void add_root_container(ndArray_tag* /*element*/, const ndArray_tag* /*container*/) {}

void unroot_array(ndArray_tag* /*array*/) noexcept {}

bool is_rooted_in(const ndArray_tag* /*array*/, const ndArray_tag* /*container*/) noexcept { return false; }

bool has_cycle_detection_contents(const ndArray_tag* array) noexcept {
    return array->class_id == ndFUNCTION_CLASS;
}

bool should_contain_internal_reference(const ndArray_tag* /*container*/) noexcept {
    return containers_count_internal_references.load(std::memory_order_relaxed);
}

bool is_referenced_by_old_system(const ndArray_tag* /*array*/) noexcept { return false; }

void release_root_record(ndArray_tag* /*array*/) noexcept {}

void make_shared_roots(ndArray_tag* /*source*/, ndArray_tag* /*copy*/, bool /*share_data*/) {}

void join_root_ring(ndArray_tag* /*source*/, ndArray_tag* /*copy*/) noexcept {}

void leave_root_ring(ndArray_tag* /*array*/) noexcept {}

RootRecord* prepare_moved_ring(const ndArray_tag* /*first*/, bool /*others_follow*/) { return nullptr; }

void discard_moved_ring(RootRecord* /*prepared*/) noexcept {}

void begin_moved_ring(ndArray_tag* /*first*/, RootRecord* /*prepared*/) noexcept {}

bool can_leave_root_ring(const ndArray_tag* /*array*/) noexcept { return true; }

void move_root_relations(ndArray_tag* /*array*/, ndArray_tag* /*copy*/) noexcept {}

void move_root_record(ndArray_tag* /*src*/, ndArray_tag* /*dest*/) noexcept {}

} // namespace matrix::internal
