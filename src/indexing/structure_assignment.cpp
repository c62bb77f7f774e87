// Assignment to struct and object arrays: the subscripts are fitted and the two sides must have the same fields; copies of the values wait
// beside the array; it grows; and the values go to their slots, which can't fail any more. A left side that gives way is built
// aside and moves onto the header in the end.
#include "indexing/structure_assignment.hpp"

#include "indexing/assignment_source.hpp"
#include "indexing/changed_array.hpp"
#include "indexing/fitted_subscripts.hpp"

#include "errors/raise.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/field_names.hpp"
#include "matrix/sharing_rollback.hpp"

#include <nd/class_access.hpp>
#include <nd/share.hpp>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

// Slots are stored by position: both sides have as many fields, or the right-hand side is a cell of one field's values.
void refuse_other_fields(const ndArray_tag* lhs, const ndArray_tag* rhs, std::size_t field, bool replaces) {
    const bool is_struct = is_struct_like(lhs->class_id);
    const bool fits = field != 0 ? is_struct && rhs->class_id == ndCELL_CLASS
                                 : is_struct_like(rhs->class_id) &&
                                       (replaces || (is_struct && field_count(lhs) == field_count(rhs)));
    if (!fits)
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(rhs),
                                                                  api::ndGetClassName(lhs));
}

bool assign_slots(ndArray_tag* lhs, std::span<const ndArray_tag* const> subs, const ndArray_tag* rhs,
                  std::size_t field) {
    fitted_subscripts fitted(lhs, subs, rhs, field);
    refuse_other_fields(lhs, rhs, field, fitted.replaces());
    fitted.select_field();
    changed_array changed(lhs);
    if (fitted.replaces()) changed.replace(create_empty_copy(rhs));
    change_elements(changed, fitted, rhs, fitted.copy_needed(), nullptr);
    changed.finish();
    return fitted.reaches_beyond() || fitted.replaces();
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndStructureAssignment(bool& grew, ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                           const ndArray_tag* rhs, std::size_t field) {
    grew = false; // also for whoever catches what is raised
    if (nsubs == 0) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    const array_ptr held = held_for_change(rhs, lhs);
    // Slots that are stored to aren't read at the same time.
    sharing_rollback shared;
    array_ptr own;
    if (rhs == lhs && is_struct_like(lhs->class_id)) {
        shared.note_elements(lhs);
        own = shallow_copy(lhs);
    }
    grew = assign_slots(lhs, {subs, nsubs}, own ? own.get() : rhs, field);
    shared.keep();
}

} // namespace matrix::detail::noninlined::nd_array_api
