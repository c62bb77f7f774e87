// The setter of this folder that only tests may use.
#include "errors/warning_test_hooks.hpp"

#include "errors/warning_route.hpp"

namespace matrix::errors::test_hooks {

void restore_first_warning_handler() noexcept { put_warning_handler(nullptr); }

} // namespace matrix::errors::test_hooks
