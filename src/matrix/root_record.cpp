// Containment records while none are made: root_record is null in every header.
#include "matrix/root_record.hpp"

namespace matrix::internal {

void update_root_for_scope(ndArray_tag* /*array*/) {}

void release_root_record(ndArray_tag* /*array*/) noexcept {}

void make_shared_roots(ndArray_tag* /*source*/, ndArray_tag* /*copy*/, bool /*share_data*/) {}

void join_root_ring(ndArray_tag* /*source*/, ndArray_tag* /*copy*/) noexcept {}

void leave_root_ring(ndArray_tag* /*array*/) noexcept {}

bool can_leave_root_ring(const ndArray_tag* /*array*/) noexcept { return true; }

void add_root_container(ndArray_tag* /*element*/, const ndArray_tag* /*container*/) {}

void move_root_relations(ndArray_tag* /*array*/, ndArray_tag* /*copy*/) noexcept {}

void move_root_record(ndArray_tag* /*src*/, ndArray_tag* /*dest*/) noexcept {}

} // namespace matrix::internal
