// The step that makes the message catalogs ready, taken once in a process, by errors and warnings alike.
#pragma once

namespace matrix::errors {

// Tells the catalogs where the library is installed, so that translated texts are found. Costs one atomic load after
// the first call. The process ends if the step can't be completed.
void ensure_message_catalog() noexcept;

} // namespace matrix::errors
