// Setters of this folder that only tests may use; they exist in nd-testing alone.
#pragma once

#include "matrix/header_allocator.hpp"

namespace matrix::internal::test_hooks {

/// Puts other header slots in place of the chosen ones; null brings those back. All three must accept the others' blocks.
void set_header_slots(const header_slots* slots) noexcept;

/// Sets the module mode without initModule, forgets that initModule ran and turns the lists off.
void set_module_mode(int mode) noexcept;

/// Called between the copy of shared data and the leaving of their record, where another thread may leave first; null for
/// nothing.
void set_unshare_seam(void (*seam)()) noexcept;

/// What should_contain_internal_reference() answers for every container.
void set_internal_references(bool counted) noexcept;

/// Forgets what the environment says of text, which is then read once more. No other thread may be making texts.
void reset_text_policy() noexcept;

} // namespace matrix::internal::test_hooks
