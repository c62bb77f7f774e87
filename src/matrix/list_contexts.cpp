// The context operations of the array list, and the guard around external code.
#include "matrix/array_list.hpp"
#include "matrix/library_context.hpp"
#include "matrix/module_state.hpp"

#include <nd/lists.hpp>
#include <nd/memory.hpp>

#include <algorithm>
#include <atomic>
#include <exception>

namespace matrix {
namespace internal {
namespace {

/// The current engine's list or null. Only operations that add something make the context.
ArrayList* existing_list() noexcept {
    MatrixLibraryContext* const context = the_module.array_lists ? find_context() : nullptr;
    return context == nullptr ? nullptr : &context->array_list;
}

} // namespace

bool add_to_array_list(ndArray_tag* array) {
    if (!the_module.array_lists) return false;
    MatrixLibraryContext* const context = find_or_make_context();
    if (context == nullptr) return false;
    return context->array_list.add(array);
}

// An open engine that never had a context has no list for the array to stand on. Without an open engine the list is gone, and
// so would be the array if it had stood there.
void leave_array_list(ndArray_tag* array) {
    if (!the_module.array_lists) return;
    if (MatrixLibraryContext* const context = find_context_to_leave())
        return context->array_list.remove(array);
    foundation::core::diag::check(
        foundation::usm::Detail<foundation::usm::scope::EngineScope>::isRequiredContextActive(),
        "matrix::internal::removeFromArrayList(pa)");
}

} // namespace internal

int ndEnterNewArrayListContext() {
    if (!internal::the_module.array_lists) return 0;
    internal::MatrixLibraryContext* const context = internal::find_or_make_context();
    if (context == nullptr) return 0;
    context->array_list.push_context();
    return static_cast<int>(context->array_list.depth());
}

void ndExitArrayListContext(int context, ndArray_tag** keep, int keep_count, bool quiet) {
    internal::ArrayList* const list = internal::existing_list();
    if (list == nullptr) return;
    foundation::core::diag::check(static_cast<std::size_t>(context) == list->depth(),
                                  "Array list consistency error: Popping incorrect array list context");
    list->pop_context({keep, static_cast<std::size_t>(std::max(keep_count, 0))}, quiet);
}

void pushArrayListContext() { ndEnterNewArrayListContext(); }

void popArrayListContext(boost::iterator_range<ndArray_tag**> keep, bool quiet) {
    if (internal::ArrayList* const list = internal::existing_list())
        list->pop_context({keep.begin(), keep.size()}, quiet);
}

void clearArrayListContext(bool quiet) {
    if (internal::ArrayList* const list = internal::existing_list()) list->clear_context(quiet);
}

bool isArrayListContextEmpty() {
    const internal::ArrayList* const list = internal::existing_list();
    return list == nullptr || list->is_context_empty();
}

std::vector<listed_array> listCurrentArrays() {
    const internal::ArrayList* const list = internal::existing_list();
    return list == nullptr ? std::vector<listed_array>() : list->current_entries();
}

arraylist_alloclist_errormode_guard::arraylist_alloclist_errormode_guard(ErrorMode mode)
    : saved_mode_{}, active_(internal::the_module.array_lists && internal::the_module.alloc_lists) {
    if (!active_) return;
    const std::atomic_ref current(*engine_access::getCurrentErrorModePtr());
    pushAllocListContext();
    try {
        pushArrayListContext();
    } catch (...) {
        popAllocListContext();
        throw;
    }
    saved_mode_ = current.exchange(mode, std::memory_order_relaxed);
}

arraylist_alloclist_errormode_guard::~arraylist_alloclist_errormode_guard() {
    if (!active_) return;
    setErrorMode(saved_mode_);
    popArrayListContext({kept_.data(), kept_.data() + kept_.size()}, std::uncaught_exceptions() > 0);
    popAllocListContext();
}

} // namespace matrix
