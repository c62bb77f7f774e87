// LazyText: one text an exception, published by compare and exchange, so that threads which share an exception agree.
#include <foundation/core/except/lazy_text.hpp>

#include <memory>

namespace foundation::core::except::detail {

LazyText& LazyText::operator=(const LazyText& other) noexcept {
    if (this != &other) delete text_.exchange(nullptr, std::memory_order_acq_rel);
    return *this;
}

LazyText::~LazyText() { delete text_.load(std::memory_order_acquire); }

const char* LazyText::get(const resource_core::BaseMsgID& id, const char* fallback) const noexcept {
    if (const std::string* made = text_.load(std::memory_order_acquire)) return made->c_str();
    try {
        auto text = std::make_unique<const std::string>(message_text(id));
        const std::string* first = nullptr;
        if (text_.compare_exchange_strong(first, text.get(), std::memory_order_acq_rel))
            first = text.release();
        return first->c_str();
    } catch (...) {
        return fallback; // no memory; the next call may fare better
    }
}

} // namespace foundation::core::except::detail
