// Unsharing in place.
#include "matrix/unshare.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/class_table.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/unshare_seam.hpp"

#include <foundation/core/diag/diag.hpp>

namespace matrix::internal {

constinit std::atomic<void (*)()> between_copy_and_leave{nullptr};

namespace {

constexpr const char* race_on_references = "Attempt to share unsupported ndArray type across threads";

void forget_sharing(ndArray_tag* array) noexcept { array->flags &= ~flag_shared_data; }

// Others write to the block, or read it.
bool has_others_data(const ndArray_tag* array) noexcept {
    return has_shared_data(array) || has_borrowed_data(array);
}

// Leaves the record for the copy. False: another thread has left meanwhile, so the block is the array's own already. A block
// that is borrowed never is: the last who borrowed it leaves it as well.
bool take_copy(ndArray_tag* array, data_copy& copy) {
    reach_seam();
    if (!has_shared_data(array) || !leave_record(array)) {
        forget_sharing(array);
        if (!has_borrowed_data(array)) return false;
        array->nullCustomDeleter();
        end_view(array);
    }
    put_data(array, copy.take());
    return true;
}

} // namespace

bool unshare(ndArray_tag* array) {
    if (!has_others_data(array)) {
        forget_sharing(array);
        return true;
    }
    data_copy copy = copy_data(array, array);
    if (take_copy(array, copy)) return true;
    foundation::core::diag::check(!can_hold_references(array->class_id), race_on_references, "matrix/sharing",
                                  __LINE__, __PRETTY_FUNCTION__);
    return true;
}

void unshare_for_vector(ndArray_tag* array, index_vector replaced) {
    if (!has_others_data(array)) return;
    data_copy copy = copy_data_without(array, replaced);
    take_copy(array, copy); // or keep the block, when the others have left it meanwhile
}

bool unshare_shallow(ndArray_tag* array) {
    if (!has_others_data(array)) {
        forget_sharing(array);
        return true;
    }
    data_copy copy = copy_slots_shallow(array, array);
    if (take_copy(array, copy)) return true;
    end_for_sharing_fault(race_on_references, __PRETTY_FUNCTION__);
}

} // namespace matrix::internal
