// Setters of the two locales and of the size of pieces.
#include "locale_slots.hpp"

#include "platform/test_hooks.hpp"

#include <fl/i18n/pieces.hpp>

namespace foundation::test_hooks {
namespace {

using fl::i18n::KvLocale;

// The locale that stood there before ends: no other thread may be making texts meanwhile.
void replace(std::atomic<const KvLocale*>& slot, const KvLocale* locale) { delete slot.exchange(locale); }

} // namespace

void set_system_encoding(const char* name) {
    const KvLocale* locale = nullptr;
    if (name != nullptr) locale = new KvLocale(KvLocale::system().name(), name);
    replace(fl::i18n::detail::system_locale, locale);
}

void set_global_locale(const char* name) {
    const KvLocale* locale = nullptr;
    if (name != nullptr) locale = new KvLocale(fl::i18n::detail::locale_of(name));
    replace(fl::i18n::detail::global_locale, locale);
}

void set_largest_text_piece(std::size_t units) noexcept {
    fl::i18n::largest_piece = units == 0 ? fl::i18n::usual_largest_piece : units;
}

} // namespace foundation::test_hooks
