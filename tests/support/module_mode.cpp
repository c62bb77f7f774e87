// Setting the module mode without start-up.
#include "support/module_mode.hpp"

#include "matrix/module_state.hpp"
#include "matrix/test_hooks.hpp"

namespace test {

module_mode_scope::module_mode_scope(int mode) noexcept {
    matrix::internal::test_hooks::set_module_mode(mode);
}

module_mode_scope::~module_mode_scope() { matrix::internal::test_hooks::set_module_mode(mode_null_results); }

lists_on::lists_on() noexcept {
    matrix::internal::the_module.alloc_lists = matrix::internal::the_module.array_lists = true;
}

lists_on::~lists_on() {
    matrix::internal::the_module.alloc_lists = matrix::internal::the_module.array_lists = false;
}

} // namespace test
