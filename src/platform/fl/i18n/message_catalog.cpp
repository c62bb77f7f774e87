// Finding a message's text: the translations from the most special locale to the most general, then the compiled-in
// English. The first that can be formatted is taken.
#include "message_format.hpp"
#include "translations.hpp"

#include <fl/i18n/builtin_messages.hpp>
#include <fl/i18n/message_catalog.hpp>

#include <foundation/core/except/lazy_text.hpp>

#include <algorithm>
#include <tuple>

namespace fl::i18n {
namespace {

const BuiltinMessage* find_builtin(const resource_core::BaseMsgID& id) noexcept {
    const auto table = builtin_messages();
    const auto wanted = std::make_tuple(id.catalog(), id.key());
    const auto names = [](const BuiltinMessage& row) { return std::make_tuple(row.catalog, row.key); };
    const auto row =
        std::lower_bound(table.begin(), table.end(), wanted,
                         [&](const auto& left, const auto& right) { return names(left) < right; });
    return row != table.end() && names(*row) == wanted ? &*row : nullptr;
}

} // namespace

void MessageCatalog::MessageCatalogInit(const char* install_path) noexcept {
    detail::set_translation_root(install_path);
}

std::u16string MessageCatalog::get_message(const resource_core::BaseMsgID& id, const KvLocale& locale) {
    for (std::string_view name = locale.name(); !name.empty();) {
        if (const auto pattern = detail::translated_pattern(name, id.catalog(), id.key()))
            if (auto text = detail::format_message(*pattern, id, locale)) return *std::move(text);
        const std::size_t end = name.rfind('_');
        name = name.substr(0, end == std::string_view::npos ? 0 : end);
    }
    if (const BuiltinMessage* row = find_builtin(id))
        if (auto text = detail::format_message(row->pattern, id, locale)) return *std::move(text);
    return detail::describe_message(id);
}

} // namespace fl::i18n

// What an exception's what() says.
std::string foundation::core::except::detail::message_text(const resource_core::BaseMsgID& id) {
    return fl::i18n::codecvt_ustring_to_string(
        fl::i18n::MessageCatalog::get_message(id, fl::i18n::KvLocale::global()));
}
