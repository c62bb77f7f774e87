// The per-engine record of the library, kept in the engine's object store.
//
// Found in two strengths: find_context() answers null when the engine has none or no engine is active; find_or_make_context()
// makes it and answers null only when no engine is active. The engine's store owns it and takes it down with the engine.
#pragma once

#include <nd/module.hpp>

namespace matrix::internal {

inline constexpr ErrorMode initial_error_mode{1};

struct MatrixLibraryContext {
    ErrorMode error_mode = initial_error_mode;
};

/// The current engine's context or null.
MatrixLibraryContext* find_context() noexcept;

/// The current engine's context, made if missing; null when no engine is active. Raises std::bad_alloc.
MatrixLibraryContext* find_or_make_context();

} // namespace matrix::internal
