// The text of an exception, made when somebody asks for it. Most exceptions are caught unread, and the making may fail
// where throwing must not.
#pragma once

#include <nd/types.h>

#include <atomic>
#include <string>

namespace resource_core {
class BaseMsgID;
}

namespace foundation::core::except::detail {

// The UTF-8 text of a message in the global locale. Declared here and defined by the message catalogs, which stand
// above the exceptions.
std::string message_text(const resource_core::BaseMsgID& id);

// Owns the text. A copy starts without one. get() may be called by several threads at once, as what() may be.
class ND_EXPORT LazyText {
public:
    LazyText() noexcept = default;
    LazyText(const LazyText&) noexcept {}
    LazyText& operator=(const LazyText&) noexcept;
    ~LazyText();

    // The text of id, or fallback if it can't be made. Valid until this object is assigned to or destroyed.
    const char* get(const resource_core::BaseMsgID& id, const char* fallback) const noexcept;

private:
    mutable std::atomic<const std::string*> text_{nullptr};
};

} // namespace foundation::core::except::detail
