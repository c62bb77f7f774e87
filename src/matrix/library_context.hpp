// The per-engine record of the library, kept in the engine's object store.
//
// Found in two strengths: find_context() answers null when the engine has none or no engine is active; find_or_make_context()
// makes it and answers null only when no engine is active. The engine's store owns it and takes it down with the engine. While
// the engine closes nothing is found or made, but what dies early still leaves the lists that would end it once more.
#pragma once

#include "matrix/alloc_list.hpp"
#include "matrix/array_list.hpp"
#include "matrix/engine_object.hpp"

#include <nd/module.hpp>

namespace matrix::internal {

inline constexpr ErrorMode initial_error_mode{1};

/// Members go down in reverse order: orphans end when the blocks are gone and nothing of the engine can be found any more.
struct MatrixLibraryContext {
    ArrayList array_list;
    AllocList alloc_list;
    ErrorMode error_mode = initial_error_mode;
    bool is_ending = false; // from here on the alloc list is empty, or not there any more

    ~MatrixLibraryContext() { is_ending = true; }
};

/// The current engine's context or null: a handful of loads.
[[gnu::always_inline]] inline MatrixLibraryContext* find_context() noexcept {
    return engine_object<MatrixLibraryContext>::find();
}

/// The current engine's context, to take something off its lists: the one that find_context() answers or, while the engine
/// closes, the one that is going down. Null when there is none.
inline MatrixLibraryContext* find_context_to_leave() noexcept {
    if (MatrixLibraryContext* const context = find_context()) return context;
    return engine_object<MatrixLibraryContext>::find_while_closing();
}

/// The current engine's context, made if missing; null when no engine is active. Raises std::bad_alloc.
MatrixLibraryContext* find_or_make_context();

} // namespace matrix::internal
