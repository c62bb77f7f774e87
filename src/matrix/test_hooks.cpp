// Definitions of the test hooks.
#include "matrix/test_hooks.hpp"

#include "matrix/module_state.hpp"
#include "matrix/unshare_seam.hpp"

namespace matrix::internal {

header_slots& mutable_header_slots() noexcept;

namespace test_hooks {

void set_header_slots(const header_slots* slots) noexcept {
    static const header_slots chosen = mutable_header_slots();
    mutable_header_slots() = slots == nullptr ? chosen : *slots;
}

void set_module_mode(int mode) noexcept {
    the_module.mode = mode;
    the_module.alloc_lists = the_module.array_lists = the_module.collection_lists = false;
    the_module.initialised.store(false);
}

void set_unshare_seam(void (*seam)()) noexcept { between_copy_and_leave.store(seam); }

} // namespace test_hooks
} // namespace matrix::internal
