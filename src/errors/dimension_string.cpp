// Sizes of arrays for messages.
#include "errors/dimension_string.hpp"

#include "errors/ensure_catalog.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <nd/messages.hpp>

namespace Korvane::engine {

std::u16string CreateDimensionString(std::size_t ndims, const std::size_t* dims) {
    matrix::errors::ensure_message_catalog();
    const std::u16string separator = fl::i18n::MessageCatalog::get_message(
        TARVEL::matrix::dimension_separator(), fl::i18n::KvLocale::global());
    std::u16string text;
    for (std::size_t i = 0; i < ndims; ++i) {
        if (i != 0) text += separator;
        for (const char digit : std::to_string(dims[i])) text += static_cast<char16_t>(digit);
    }
    return text;
}

} // namespace Korvane::engine
