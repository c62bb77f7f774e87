// Definitions of the test hooks.
#include "matrix/test_hooks.hpp"

#include "matrix/module_state.hpp"
#include "matrix/text_policy.hpp"
#include "matrix/unshare_seam.hpp"

#include <atomic>

namespace matrix::internal {

extern std::atomic<bool> containers_count_internal_references;

namespace test_hooks {

void set_header_slots(const header_slots* slots) noexcept {
    static const header_slots chosen = slots_in_force; // at the load of the library
    slots_in_force = slots == nullptr ? chosen : *slots;
}

void set_module_mode(int mode) noexcept {
    the_module.mode = mode;
    the_module.alloc_lists = the_module.array_lists = the_module.collection_lists = false;
    the_module.initialised.store(false);
}

void set_unshare_seam(void (*seam)()) noexcept { between_copy_and_leave.store(seam); }

void set_internal_references(bool counted) noexcept { containers_count_internal_references.store(counted); }

void reset_text_policy() noexcept { delete policy_in_force.exchange(nullptr); }

} // namespace test_hooks
} // namespace matrix::internal
