// Containment records: who holds an array, and what hangs from it.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Follows a change of scope: a record knows whether its array is a member or property.
void update_root_for_scope(ndArray_tag* array);

/// Detaches the record from a dying array and drops the array's hold on it.
void release_root_record(ndArray_tag* array) noexcept;

} // namespace matrix::internal
