// Finding the per-engine record, and the error mode that lives in it.
#include "matrix/library_context.hpp"

#include <ostream>

namespace matrix {
namespace internal {

MatrixLibraryContext* find_or_make_context() { return engine_object<MatrixLibraryContext>::find_or_make(); }

} // namespace internal

namespace engine_access {

ErrorMode* getCurrentErrorModePtr() {
    // Without an engine somebody may still ask: each thread has a value of its own, with the same start.
    static constinit thread_local ErrorMode without_engine = internal::initial_error_mode;
    internal::MatrixLibraryContext* const context = internal::find_or_make_context();
    return context == nullptr ? &without_engine : &context->error_mode;
}

} // namespace engine_access

ErrorMode getErrorMode() { return *engine_access::getCurrentErrorModePtr(); }

void setErrorMode(ErrorMode mode) { *engine_access::getCurrentErrorModePtr() = mode; }

std::ostream& operator<<(std::ostream& out, const ErrorMode& mode) {
    return out << static_cast<std::int32_t>(mode);
}

} // namespace matrix
