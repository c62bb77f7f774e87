// The texts of messages, and the locale that they are written in.
//
// The library speaks English without any file: its catalogs are compiled in. Translations are picked up by locale from
//   <install path>/share/nd/catalogs/<locale>/<catalog>.msg
// The locale de_CH looks in de_CH, then in de, then takes the compiled-in text, message by message. A file that is
// missing or damaged is no error: what it lacks is said in English.
#pragma once

#include <nd/types.h>
#include <resource_core/base_msg_id.hpp>

#include <string>
#include <string_view>

namespace fl::i18n {

// A locale by its ICU name ("de_CH"), with the encoding of text outside the library. A plain value.
class KvLocale {
public:
    KvLocale(std::string_view name, std::string_view encoding) : name_(name), encoding_(encoding) {}

    const std::string& name() const noexcept { return name_; }
    const std::string& encoding() const noexcept { return encoding_; } // as ICU takes it: "UTF-8"

    // The locale of messages: from LC_ALL, LC_MESSAGES or LANG, the first that is set and not empty. Read once.
    static const KvLocale& global();
    // The locale of characters, and the encoding of the caller's text: from LC_ALL, LC_CTYPE or LANG. Read once.
    // The encoding is UTF-8 where the environment names none, only the C locale, or one that there is no converter for.
    static const KvLocale& system();

private:
    std::string name_;
    std::string encoding_;
};

class MessageCatalog {
public:
    // Where to look for translations; without it only the compiled-in texts are known. Never allocates. A path that
    // is too long for the system counts as none. May be called again: the files are then read anew.
    static void MessageCatalogInit(const char* install_path) noexcept;

    // The text, with the arguments in their places and numbers as the locale writes them. For an unknown identifier,
    // and when the formatting fails, the catalog, ":", the key and the arguments. Raises std::bad_alloc only.
    static std::u16string get_message(const resource_core::BaseMsgID& id, const KvLocale& locale);
};

// UTF-16 to UTF-8. An unpaired surrogate becomes U+FFFD. Raises std::bad_alloc only.
std::string codecvt_ustring_to_string(std::u16string_view text);

} // namespace fl::i18n
