// The per-engine record of the library, kept in the engine's object store.
//
// Found in two strengths: find_context() answers null when the engine has none or no engine is active; find_or_make_context()
// makes it and answers null only when no engine is active. The engine's store owns it and takes it down with the engine.
#pragma once

#include "matrix/alloc_list.hpp"
#include "matrix/array_list.hpp"
#include "matrix/engine_object.hpp"

#include <nd/module.hpp>

namespace matrix::internal {

inline constexpr ErrorMode initial_error_mode{1};

/// Members go down in reverse order: orphans end when nothing of the engine can be found any more.
struct MatrixLibraryContext {
    ArrayList array_list;
    AllocList alloc_list;
    ErrorMode error_mode = initial_error_mode;
};

/// The current engine's context or null: a handful of loads.
[[gnu::always_inline]] inline MatrixLibraryContext* find_context() noexcept {
    return engine_object<MatrixLibraryContext>::find();
}

/// The current engine's context, made if missing; null when no engine is active. Raises std::bad_alloc.
MatrixLibraryContext* find_or_make_context();

} // namespace matrix::internal
