/*
 * nd/from_utf16_converter.hpp: from UTF-16 to the bytes of an encoding, for callers that bring their own memory.
 */
#ifndef ND_FROM_UTF16_CONVERTER_HPP
#define ND_FROM_UTF16_CONVERTER_HPP

#include <nd/conversion_errors.hpp>
#include <nd/types.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace I18N {

/// Characters that the encoding lacks become its substitution character, unpaired surrogates too (U+FFFD where the encoding has it).
/// Used by one thread at a time. Conversions raise fl::i18n::CvtConversionFailure (nd/conversion_errors.hpp) when there is no such
/// encoding, and std::bad_alloc.
class FromUTF16Converter {
public:
    /// An encoding by a name that ICU knows; null: the system's, as it is at each conversion.
    ND_EXPORT explicit FromUTF16Converter(const char* encoding);

    /// The bytes that text has in the encoding. A short result is kept for do_conversion.
    ND_EXPORT std::size_t measure(std::u16string_view text);

    /// Writes the whole text, whose length measure has just told of it.
    ND_EXPORT void do_conversion(std::u16string_view text, char* to, std::size_t length);

    /// Writes as many bytes as there is room for, and answers how many these are. The last character may be cut.
    ND_EXPORT std::size_t do_conversion_up_to(std::u16string_view text, char* to, std::size_t room);

    /// The whole text.
    ND_EXPORT std::string convert(std::u16string_view text);

private:
    const char* encoding() const noexcept { return encoding_ ? encoding_->c_str() : nullptr; }

    std::optional<std::string> encoding_;
    std::array<char, 1024> kept_; // the text measured last, where it fits and isn't UTF-8
};

} // namespace I18N

#endif
