// Which assignments go to the slots of structs. The assignment itself is public (<nd/structures.hpp>).
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <nd/structures.hpp>

namespace matrix::internal {

/// A left side that takes class and fields of the right-hand side.
inline bool gives_way(const ndArray_tag* lhs) noexcept {
    return (lhs->flags & flag_empty_square_bracket) != 0 ||
           (lhs->class_id == ndUNKNOWN_CLASS && element_count(lhs) == 0);
}

/// Assignments that are ndStructureAssignment's: those to a struct or object, or of one to a left side that gives way. What gives
/// way is what its right-hand side is, also where it was a struct.
inline bool is_structure_assignment(const ndArray_tag* lhs, const ndArray_tag* rhs) noexcept {
    return is_struct_like(gives_way(lhs) ? rhs->class_id : lhs->class_id);
}

} // namespace matrix::internal
