// From a ready line to the user: the thread's filters, then the handler of the process.
//
// Filters and handler are the environment's code and may do anything: issue warnings, make and end filters, set the handler,
// throw. So no lock is held while one of them runs, copied or destroyed, and a filter that runs is kept alive.
#include "errors/warning_route.hpp"

#include <nd/warnings.hpp>

#include <fl/i18n/message_catalog.hpp>
#include <libbase/text.hpp>

#include <mutex>
#include <new>
#include <utility>

namespace matrix {
namespace {

using filter_function = std::function<bool(std::basic_string<char16_t>&)>;
using filter_list = std::vector<std::shared_ptr<filter_function>>; // oldest first

// A plain pointer: it can be read for as long as the thread runs, also while its other thread-local objects end.
constinit thread_local filter_list* filters = nullptr;

void drop_filters() noexcept { delete std::exchange(filters, nullptr); }

void push_filter(std::shared_ptr<filter_function> filter) {
    // Ends what a filter left behind that was never ended itself.
    struct at_thread_exit {
        ~at_thread_exit() { drop_filters(); }
    };
    static thread_local const at_thread_exit ending{};
    static_cast<void>(ending);
    if (!filters) filters = new filter_list;
    filters->push_back(std::move(filter));
}

// Whether the line goes on. A filter may change the list while it runs, so each step looks at the list anew.
bool pass_filters(std::basic_string<char16_t>& line) {
    for (std::size_t i = filters ? filters->size() : 0; i-- > 0;) {
        if (!filters || i >= filters->size()) continue;
        const std::shared_ptr<filter_function> filter = (*filters)[i];
        if (!(*filter)(line)) return false;
    }
    return true;
}

void print_line(const std::basic_string<char16_t>& line) {
    basePrintf("%s\n", fl::i18n::codecvt_ustring_to_string(line).c_str());
}

struct handler_slot {
    std::mutex lock;                                        // guards the pointer, never a call
    std::shared_ptr<const errors::warning_handler> handler; // null: print_line
};

// Never destroyed: static destructors may warn.
handler_slot& the_handler() noexcept {
    alignas(handler_slot) static std::byte room[sizeof(handler_slot)];
    static handler_slot* const slot = ::new (static_cast<void*>(room)) handler_slot;
    return *slot;
}

errors::warning_handler copy_handler() {
    std::shared_ptr<const errors::warning_handler> current;
    {
        handler_slot& slot = the_handler();
        const std::lock_guard guard(slot.lock);
        current = slot.handler;
    }
    return current ? *current : errors::warning_handler(&print_line);
}

} // namespace

void handleWarning(const std::basic_string<char16_t>& text) {
    std::basic_string<char16_t> line = text;
    if (!pass_filters(line)) return;
    if (const errors::warning_handler handler = copy_handler()) handler(line);
}

void setWarningHandler(std::function<void(const std::basic_string<char16_t>&)> handler) {
    errors::put_warning_handler(std::make_shared<const errors::warning_handler>(std::move(handler)));
}

void errors::put_warning_handler(std::shared_ptr<const warning_handler> handler) noexcept {
    handler_slot& slot = the_handler();
    const std::lock_guard guard(slot.lock);
    slot.handler.swap(handler); // the old one ends with the parameter, after the lock
}

void WarningFilter::push(const std::function<bool(std::basic_string<char16_t>&)>& filter) {
    push_filter(std::make_shared<filter_function>(filter));
}

void WarningFilter::push(std::function<bool(std::basic_string<char16_t>&)>&& filter) {
    push_filter(std::make_shared<filter_function>(std::move(filter)));
}

void WarningFilter::pop() noexcept {
    if (!filters) return; // the thread is ending, and the list went before this filter
    const std::shared_ptr<filter_function> ending = std::move(filters->back());
    filters->pop_back();
    if (filters->empty()) drop_filters();
}

} // namespace matrix
