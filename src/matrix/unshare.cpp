// Unsharing in place.
#include "matrix/unshare.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/class_table.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/root_record.hpp"
#include "matrix/sharing.hpp"
#include "matrix/unshare_seam.hpp"

#include <foundation/core/diag/diag.hpp>

namespace matrix::internal {

constinit std::atomic<void (*)()> between_copy_and_leave{nullptr};

namespace {

constexpr const char* race_on_references = "Attempt to share unsupported ndArray type across threads";

void forget_sharing(ndArray_tag* array) noexcept { array->flags &= ~flag_shared_data; }

// Leaves the record for the copy. False: another thread has left meanwhile, so the block is the array's own already.
bool take_copy(ndArray_tag* array, data_copy& copy) {
    reach_seam();
    if (!leave_record(array)) return false;
    put_data(array, copy.take());
    return true;
}

} // namespace

bool unshare(ndArray_tag* array) {
    if (!has_shared_data(array)) {
        forget_sharing(array);
        return true;
    }
    data_copy copy = copy_data(array, array);
    if (take_copy(array, copy)) return true;
    forget_sharing(array);
    foundation::core::diag::check(!can_hold_references(array->class_id), race_on_references, "matrix/sharing",
                                  __LINE__, __func__);
    return true;
}

bool unshare_shallow(ndArray_tag* array) {
    if (!has_shared_data(array)) {
        forget_sharing(array);
        return true;
    }
    data_copy copy = copy_slots_shallow(array, array);
    if (take_copy(array, copy)) return true;
    forget_sharing(array);
    end_for_sharing_fault(race_on_references, __func__);
}

} // namespace matrix::internal
