// Setting the module mode without start-up.
#include "support/module_mode.hpp"

#include "matrix/test_hooks.hpp"

namespace test {

module_mode_scope::module_mode_scope(int mode) noexcept {
    matrix::internal::test_hooks::set_module_mode(mode);
}

module_mode_scope::~module_mode_scope() { matrix::internal::test_hooks::set_module_mode(mode_null_results); }

} // namespace test
