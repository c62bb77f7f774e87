// Setters of the two locales. A locale that a test set stays reachable for good, since somebody may still hold it.
#include "locale_slots.hpp"

#include "platform/test_hooks.hpp"

#include <deque>
#include <mutex>

namespace foundation::test_hooks {
namespace {

using fl::i18n::KvLocale;

const KvLocale* keep(KvLocale locale) {
    static std::mutex lock;
    static std::deque<KvLocale>& kept = *new std::deque<KvLocale>;
    const std::lock_guard guard(lock);
    return &kept.emplace_back(std::move(locale));
}

} // namespace

void set_system_encoding(const char* name) {
    const KvLocale* locale = nullptr;
    if (name != nullptr) locale = keep(KvLocale(KvLocale::system().name(), name));
    fl::i18n::detail::system_locale = locale;
}

void set_global_locale(const char* name) {
    fl::i18n::detail::global_locale = name != nullptr ? keep(fl::i18n::detail::locale_of(name)) : nullptr;
}

} // namespace foundation::test_hooks
