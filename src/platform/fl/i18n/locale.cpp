// Locales from the environment. Names are made canonical by ICU; "C", "POSIX" and nothing mean en_US_POSIX, whose
// numbers have no grouping.
#include "locale_slots.hpp"

#include <fl/i18n/double_byte_encodings.hpp>

#include <unicode/locid.h>
#include <unicode/ucnv.h>

#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

namespace fl::i18n {
namespace detail {

std::atomic<const KvLocale*> global_locale{nullptr};
std::atomic<const KvLocale*> system_locale{nullptr};

namespace {

constexpr const char* default_encoding = "UTF-8";

const char* first_set(const char* category) noexcept {
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return value;
    }
    return "";
}

// Whether there is a converter for the encoding: ICU knows the names of more encodings than it has the data of.
bool can_convert(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    if (ucnv_countAliases(name, &status) == 0 || U_FAILURE(status)) return false;
    const std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open(name, &status), ucnv_close);
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    return U_SUCCESS(status);
}

bool is_ascii(const char* encoding) noexcept { return ucnv_compareNames(encoding, "ANSI_X3.4-1968") == 0; }

// The encoding that a locale name spells out, or else the one that the system has for the locale. ASCII counts as
// UTF-8, which holds it: it is what systems say when nobody chose anything.
std::string encoding_of(const std::string& name) {
    if (const std::size_t dot = name.find('.'); dot != std::string::npos) {
        const std::string spelled = name.substr(dot + 1, name.find('@') - dot - 1);
        return can_convert(spelled.c_str()) ? usual_encoding_name(spelled.c_str()) : default_encoding;
    }
    const locale_t locale = newlocale(LC_CTYPE_MASK, name.c_str(), locale_t{});
    if (locale == locale_t{}) return default_encoding;
    const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> guard(locale, freelocale);
    const char* const encoding = nl_langinfo_l(CODESET, locale);
    return can_convert(encoding) && !is_ascii(encoding) ? usual_encoding_name(encoding) : default_encoding;
}

const KvLocale& known_once(std::atomic<const KvLocale*>& slot, const char* category) {
    if (const KvLocale* known = slot.load(std::memory_order_acquire)) return *known;
    auto found = std::make_unique<const KvLocale>(locale_of(first_set(category)));
    const KvLocale* first = nullptr;
    if (slot.compare_exchange_strong(first, found.get(), std::memory_order_acq_rel)) first = found.release();
    return *first;
}

} // namespace

KvLocale locale_of(const char* name) {
    const std::string_view given = name;
    const std::string_view language = given.substr(0, given.find_first_of(".@"));
    if (language.empty() || language == "C" || language == "POSIX")
        return KvLocale("en_US_POSIX", encoding_of(name));
    return KvLocale(icu::Locale::createCanonical(name).getBaseName(), encoding_of(name));
}

} // namespace detail

const KvLocale& KvLocale::global() { return detail::known_once(detail::global_locale, "LC_MESSAGES"); }

const KvLocale& KvLocale::system() { return detail::known_once(detail::system_locale, "LC_CTYPE"); }

} // namespace fl::i18n
