// Setters of the switch of internal checks and of the terminate handler.
#include "diag_state.hpp"

#include "platform/test_hooks.hpp"

namespace foundation::test_hooks {

void set_diag_terminate(bool on) noexcept { core::diag::detail::checks_on() = on; }

void reset_diag_terminate() noexcept {
    core::diag::detail::checks_on() = core::diag::detail::initial_checks_on();
}

terminate_handler set_terminate_handler(terminate_handler handler) noexcept {
    return core::diag::detail::installed_handler.exchange(handler);
}

} // namespace foundation::test_hooks
