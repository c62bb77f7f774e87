// A setter for tests only; it exists in nd-testing alone.
#pragma once

namespace matrix::errors::test_hooks {

/// Brings back the warning handler that the process starts with.
void restore_first_warning_handler() noexcept;

} // namespace matrix::errors::test_hooks
