// The alloc list of an engine, and the context operations on it.
#include "matrix/alloc_list.hpp"

#include "matrix/header_factory.hpp"
#include "matrix/library_context.hpp"
#include "matrix/module_state.hpp"

#include <nd/memory.hpp>

#include <foundation/core/diag/diag.hpp>

#include <new>

namespace matrix {
namespace internal {
namespace {

using foundation::core::diag::check;

template <class Stack>
bool has_context(const Stack& stack) {
    check(stack.has_context(), "m_hasCurrentContext");
    return stack.has_context();
}

} // namespace

AllocList::~AllocList() {
    while (stack_.has_context()) pop_context();
    check(stack_.size() == 0, "m_data.empty()");
    check(!stack_.has_context(), "m_contexts.empty()");
}

void AllocList::add(void* block) {
    if (block == nullptr || !has_context(stack_)) return;
    stack_.append(block);
}

void AllocList::remove(void* block) noexcept {
    if (block == nullptr || !has_context(stack_) || stack_.remove_newest(block)) return;
    const std::size_t found = stack_.has_hint() ? stack_.find_from_hint(block) : stack_.find_backwards(block);
    if (found != stack_.not_found) stack_.make_hole(found);
}

void AllocList::clear_context() noexcept {
    if (!has_context(stack_)) return;
    // The list is being emptied as a whole: blocks go to the heap directly, not through a search each.
    while (stack_.size() > stack_.start()) free_data(stack_.take_last());
    stack_.drop_hint();
}

void AllocList::pop_context() noexcept {
    if (!has_context(stack_)) return;
    clear_context();
    stack_.pop();
}

bool AllocList::is_context_empty() const noexcept {
    return !has_context(stack_) || stack_.count_current() == 0;
}

std::vector<void*> AllocList::all_entries() const {
    std::vector<void*> blocks;
    for (std::size_t i = 0; i < stack_.size(); ++i) {
        if (stack_[i].pointer != nullptr) blocks.push_back(stack_[i].pointer);
    }
    return blocks;
}

void add_to_alloc_list(void* block) {
    if (!the_module.alloc_lists) return;
    if (MatrixLibraryContext* const context = find_or_make_context()) context->alloc_list.add(block);
}

void reserve_on_alloc_list() {
    if (!the_module.alloc_lists) return;
    if (MatrixLibraryContext* const context = find_or_make_context()) context->alloc_list.reserve_one();
}

// Makes the context like an operation that adds. When that fails there is no list, and so nothing on it. While the engine
// closes its list is left too: it would free the block once more.
void removeFromAllocList(void* block) noexcept {
    if (!the_module.alloc_lists) return;
    try {
        if (MatrixLibraryContext* const context = find_or_make_context())
            return context->alloc_list.remove(block);
    } catch (const std::bad_alloc&) {
    }
    MatrixLibraryContext* const context = find_context_to_leave();
    if (context != nullptr && !context->is_ending) context->alloc_list.remove(block);
}

namespace {

/// The current engine's list or null. Only operations that add something make the context.
AllocList* existing_list() noexcept {
    MatrixLibraryContext* const context = the_module.alloc_lists ? find_context() : nullptr;
    return context == nullptr ? nullptr : &context->alloc_list;
}

bool engine_is_active() noexcept {
    return foundation::usm::Detail<foundation::usm::scope::EngineScope>::isRequiredContextActive();
}

} // namespace
} // namespace internal

int ndEnterNewAllocListContext() {
    if (!internal::the_module.alloc_lists) return 0;
    internal::MatrixLibraryContext* const context = internal::find_or_make_context();
    if (context == nullptr) return 0;
    context->alloc_list.push_context();
    return static_cast<int>(context->alloc_list.depth());
}

void ndRestorePreviousAllocListContext(int context) {
    constexpr const char* wrong_context =
        "Alloc list consistency error: Popping incorrect alloc list context";
    if (!internal::the_module.alloc_lists) return;
    internal::AllocList* const list = internal::existing_list();
    if (list == nullptr) {
        foundation::core::diag::check(context == 0 || !internal::engine_is_active(), wrong_context);
        return;
    }
    foundation::core::diag::check(static_cast<std::size_t>(context) == list->depth(), wrong_context);
    list->pop_context();
}

void pushAllocListContext() { ndEnterNewAllocListContext(); }

void popAllocListContext() {
    if (internal::AllocList* const list = internal::existing_list()) list->pop_context();
}

void clearAllocListContext() {
    if (internal::AllocList* const list = internal::existing_list()) list->clear_context();
}

bool isAllocListContextEmpty() {
    const internal::AllocList* const list = internal::existing_list();
    return list == nullptr || list->is_context_empty();
}

} // namespace matrix
