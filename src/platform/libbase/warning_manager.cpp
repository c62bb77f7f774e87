// The warning manager as a store behind one mutex. It is never destroyed, so warnings may come from static destructors
// and thread exits. Each change either happens whole or, out of memory, not at all.
#include <libbase/warning_manager.hpp>

#include "platform/libbase/seams.hpp"

#include <foundation/core/except/exception.hpp>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <string_view>

struct base_warning_manager {
    mutable std::mutex lock; // guards all that follows
    std::map<std::string, int, std::less<>> statuses;
    std::uint32_t modes = 0; // bit n: mode n is on
    std::string last_printed_id;
    std::list<base_warning_record> log; // oldest first
};

namespace libbase {

constinit std::atomic<bool> warning_manager_present{true};

base_warning_manager& process_warning_manager() noexcept {
    alignas(base_warning_manager) static std::byte room[sizeof(base_warning_manager)];
    static base_warning_manager* const manager = ::new (static_cast<void*>(room)) base_warning_manager;
    return *manager;
}

namespace {

std::uint32_t mode_bit(int mode) noexcept { return mode >= 0 && mode < 32 ? std::uint32_t{1} << mode : 0; }

// The text in full: text itself unless formatting gives more than it holds.
[[gnu::format(printf, 2, 0)]] std::string full_text(const char* text, const char* format, va_list args) {
    std::string result(text);
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length > 0 && static_cast<std::size_t>(length) > result.size()) {
        result.resize(static_cast<std::size_t>(length));
        std::vsnprintf(result.data(), result.size() + 1, format, args);
    }
    return result;
}

void append(base_warning_manager& manager, base_warning_record&& record) {
    std::list<base_warning_record> node;
    node.push_back(std::move(record));
    std::list<base_warning_record> dropped; // freed after the lock
    const std::lock_guard guard(manager.lock);
    manager.log.splice(manager.log.end(), node);
    if (manager.log.size() > base_warning_log_limit)
        dropped.splice(dropped.end(), manager.log, manager.log.begin());
}

} // namespace
} // namespace libbase

base_warning_manager* baseGetWarningManagerContextSafe() noexcept {
    const bool present = libbase::warning_manager_present.load(std::memory_order_acquire);
    return present ? &libbase::process_warning_manager() : nullptr;
}

int baseGetWarningStatus(const base_warning_manager* manager, const char* id) noexcept {
    const std::lock_guard guard(manager->lock);
    const auto found = manager->statuses.find(std::string_view(id));
    return found == manager->statuses.end() ? base_warning_on : found->second;
}

void baseSetWarningStatus(base_warning_manager* manager, const char* id, int status) {
    const std::lock_guard guard(manager->lock);
    manager->statuses.insert_or_assign(std::string(id), status);
}

bool baseIsWarningModeOn(const base_warning_manager* manager, int mode) noexcept {
    const std::lock_guard guard(manager->lock);
    return (manager->modes & libbase::mode_bit(mode)) != 0;
}

void baseSetWarningMode(base_warning_manager* manager, int mode, bool on) noexcept {
    const std::uint32_t bit = libbase::mode_bit(mode);
    const std::lock_guard guard(manager->lock);
    manager->modes = on ? manager->modes | bit : manager->modes & ~bit;
}

void baseSetLastPrintedWarningId(base_warning_manager* manager, const char* id) {
    std::string text(id);
    const std::lock_guard guard(manager->lock);
    manager->last_printed_id.swap(text);
}

std::string baseGetLastPrintedWarningId(const base_warning_manager* manager) {
    const std::lock_guard guard(manager->lock);
    return manager->last_printed_id;
}

void baseLogWarning(base_warning_manager* manager, const char* id, const char* text, const char* format,
                    va_list args, bool off) {
    libbase::append(*manager, {id, libbase::full_text(text, format, args), format, off});
}

void baseLogWarning(base_warning_manager* manager, const char* id, const resource_core::BaseMsgID& message,
                    bool off) {
    namespace except = foundation::core::except;
    std::string source(message.catalog());
    source += ':';
    source += message.key();
    libbase::append(*manager, {id ? id : except::IMsgIDException::get_error_id(message),
                               except::detail::message_text(message), std::move(source), off});
}

std::vector<base_warning_record> baseGetWarningLog(const base_warning_manager* manager) {
    const std::lock_guard guard(manager->lock);
    return {manager->log.begin(), manager->log.end()};
}

void baseResetWarningManager(base_warning_manager* manager) noexcept {
    std::list<base_warning_record> log; // freed after the lock, as is the id
    std::string last_printed_id;
    const std::lock_guard guard(manager->lock);
    manager->statuses.clear();
    manager->modes = 0;
    manager->last_printed_id.swap(last_printed_id);
    manager->log.swap(log);
}
