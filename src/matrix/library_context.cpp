// Finding the per-engine record, and the error mode that lives in it.
#include "matrix/library_context.hpp"

#include <atomic>
#include <ostream>

namespace matrix {
namespace internal {

MatrixLibraryContext* find_or_make_context() { return engine_object<MatrixLibraryContext>::find_or_make(); }

} // namespace internal

namespace engine_access {

ErrorMode* getCurrentErrorModePtr() {
    // Without an engine somebody may still ask: the process has a value for them, with the same start.
    static constinit ErrorMode without_engine = internal::initial_error_mode;
    internal::MatrixLibraryContext* const context = internal::find_or_make_context();
    return context == nullptr ? &without_engine : &context->error_mode;
}

} // namespace engine_access

// Threads of one engine, and those without one, may ask and set at once.
ErrorMode getErrorMode() {
    return std::atomic_ref(*engine_access::getCurrentErrorModePtr()).load(std::memory_order_relaxed);
}

void setErrorMode(ErrorMode mode) {
    std::atomic_ref(*engine_access::getCurrentErrorModePtr()).store(mode, std::memory_order_relaxed);
}

std::ostream& operator<<(std::ostream& out, const ErrorMode& mode) {
    return out << static_cast<std::int32_t>(mode);
}

} // namespace matrix
