// Noting the marks of arrays, and giving them back.
#include "matrix/sharing_rollback.hpp"

#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/sharing.hpp"

#include <span>

namespace matrix::internal {

// Last first: an array that was noted twice was as it is told first. One that a hook has shared meanwhile stays so.
sharing_rollback::~sharing_rollback() {
    for (; !sources_.empty(); sources_.pop_back()) {
        const marks& was = sources_.back();
        if (has_shared_data(was.array)) continue;
        if (!was.has_record) free_share_record(was.array);
        was.array->flags = was.flags;
    }
}

void sharing_rollback::note(ndArray_tag* array) {
    sources_.push_back({array, array->flags, array->share_record != nullptr});
}

// One without references gets an owner more, which is nothing that a failure leaves behind unless it was reusable.
void sharing_rollback::note_element(ndArray_tag* element) {
    if (element != nullptr &&
        (can_hold_references(element->class_id) || (element->flags & flag_reusable) != 0))
        note(element);
}

void sharing_rollback::note_elements(const ndArray_tag* container) {
    if (container->pdata == nullptr) return;
    for (ndArray_tag* const element : std::span(slots_of(container), slot_count(container)))
        note_element(element);
}

} // namespace matrix::internal
