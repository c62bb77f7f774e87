// Where the two locales of the process stand once they are known.
#pragma once

#include <fl/i18n/message_catalog.hpp>

#include <atomic>

namespace fl::i18n::detail {

// Null until first asked for. What they point at is never destroyed: threads may hold it until they end.
extern std::atomic<const KvLocale*> global_locale;
extern std::atomic<const KvLocale*> system_locale;

// The locale that a name in the form of the environment means: "de_CH.UTF-8@euro", "C", "".
KvLocale locale_of(const char* name);

} // namespace fl::i18n::detail
