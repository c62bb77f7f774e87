// Warnings from C++: issuing them, handling them, and watching them.
//
// A warning is an id ("TARVEL:colon:nonIntegerIndex") and a text. Its way:
//
//   issued   ndWarningMsgId and its kin ask the environment's warning manager for the status of the id:
//              0 off     nothing is shown
//              1 on      printed, as follows
//              2 error   raised as Korvane::System::SimpleException with the id and the text
//            Without a manager the status is 1. While mode 3 of the manager is on, every status is 0.
//   printed  the line is the text behind the catalog's prefix and, while mode 2 of the manager is on, before a hint that
//            tells how to switch the warning off. The id becomes the manager's last printed id.
//   watched  each WarningObserver of the thread records id and text, without prefix and hint
//   handled  the filters of the thread may change the line or drop it; the handler of the process shows it
//   logged   by the manager, when the status is 0 or 1
//
// Whatever a filter or the handler throws comes out of the function that issued the warning. A filter or handler may issue
// warnings and change the handler. Text is UTF-16 where its type is char16_t, else UTF-8; bytes that aren't UTF-8 become
// U+FFFD on the way. Any thread may call any of this. All functions raise std::bad_alloc when memory runs out.
#ifndef ND_WARNINGS_HPP
#define ND_WARNINGS_HPP

#include <nd/types.h>

#include <cstdarg>
#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace resource_core {
class BaseMsgID;
}

namespace matrix {

/// Passes a ready line through this thread's filters, newest first, and on to the handler unless a filter returns false.
/// An empty filter raises std::bad_function_call.
ND_EXPORT void handleWarning(const std::basic_string<char16_t>& text);

/// Puts another handler in place for the whole process. With an empty one, warnings that come this far vanish. The first
/// handler prints the line and a new line to the environment's output. Several threads may call a handler at the same time,
/// each its own copy of it.
ND_EXPORT void setWarningHandler(std::function<void(const std::basic_string<char16_t>&)> handler);

/// While a WarningFilter lives, the lines of its thread's warnings pass through its function, which may change them; false
/// drops the line. Filters of a thread end in the reverse order of their making, on the thread that made them.
class WarningFilter {
public:
    WarningFilter(const std::function<bool(std::basic_string<char16_t>&)>& filter) { push(filter); }
    WarningFilter(std::function<bool(std::basic_string<char16_t>&)>&& filter) { push(std::move(filter)); }
    ~WarningFilter() { pop(); }
    WarningFilter(const WarningFilter&) = delete;
    WarningFilter& operator=(const WarningFilter&) = delete;

private:
    ND_EXPORT static void push(const std::function<bool(std::basic_string<char16_t>&)>& filter);
    ND_EXPORT static void push(std::function<bool(std::basic_string<char16_t>&)>&& filter);
    ND_EXPORT static void pop() noexcept;
};

/// While a WarningObserver lives, it records the warnings that are printed on its thread, also those that a filter drops.
/// Observers of a thread end in the reverse order of their making, on the thread that made them.
class WarningObserver {
public:
    ND_EXPORT WarningObserver();
    ND_EXPORT ~WarningObserver();
    WarningObserver(const WarningObserver&) = delete;
    WarningObserver& operator=(const WarningObserver&) = delete;

    /// The number of warnings recorded; of those with that id.
    ND_EXPORT std::size_t getNumWarnings() const noexcept;
    ND_EXPORT std::size_t getNumWarnings(const std::string& id) const noexcept;

    /// The text of warning number index, from 0, among those with that id; empty when there is none.
    ND_EXPORT std::basic_string<char16_t> getWarning(const std::string& id, std::size_t index) const;

    /// The ids of all warnings recorded, in order, with repeats.
    ND_EXPORT std::vector<std::string> getWarningIds() const;

protected:
    /// Records a warning with every observer of this thread; with none of them when memory runs out.
    ND_EXPORT static void observe(const std::string& id, const std::basic_string<char16_t>& text);

private:
    // Ties the observer to the thread that it observes.
    struct Proxy {
        WarningObserver** newest;
    };
    struct Record {
        std::basic_string<char16_t> text;
        std::string id;
    };

    Proxy proxy_;
    std::deque<Record> records_;
    WarningObserver* previous_; // the newest before this one
};

namespace detail::noninlined::nd_array_api {

/// Issues and logs a warning whose text is made from the format and the arguments as printf does it, and cut after 8191
/// bytes. A null id counts as an empty one, a null format as an empty text. What args points to is used up.
ND_EXPORT void ndWarningMsgIdAndTxt(const char* id, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
ND_EXPORT void ndVWarningMsgIdAndTxt(const char* id, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

/// Issues a warning with a ready text and doesn't log it. True when the warning is off.
ND_EXPORT bool ndWarningMsgIdAndTxtNoLog(const std::string& id, const std::basic_string<char16_t>& text);

/// Issues and logs a warning whose text is that of the message in the global locale. It goes by the id of the message,
/// "TARVEL:badargs" for key "badargs" of the catalog "TARVEL:legacy_two_part", or by the id that is given.
ND_EXPORT void ndWarningMsgId(const resource_core::BaseMsgID& message);
ND_EXPORT void ndWarningMsgId(const std::string& id, const resource_core::BaseMsgID& message);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
