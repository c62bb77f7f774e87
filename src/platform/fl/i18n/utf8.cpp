// UTF-8 and UTF-16 by the kernels in use and ICU. ICU counts in 32 bits, so long text goes to it in pieces that don't part pairs.
#include <fl/i18n/utf8.hpp>

#include "platform/fl/i18n/utf8_kernels.hpp"

#include <fl/i18n/pieces.hpp>
#include <fl/i18n/utf16.hpp>
#include <foundation/core/cpu/instruction_set.hpp>

#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace fl::i18n {
namespace {

const detail::utf8_kernels& kernels() noexcept {
    static constexpr foundation::core::cpu::kernel_family<detail::utf8_kernels> family{
        {&detail::utf8_kernels_baseline, &detail::utf8_kernels_avx2, &detail::utf8_kernels_avx512}};
    return family.get();
}

// The first piece of text. No pair of surrogates is parted.
std::u16string_view piece_of(std::u16string_view text) noexcept {
    if (text.size() <= largest_piece) return text;
    const bool parts_pair =
        is_lead_surrogate(text[largest_piece - 1]) && is_trail_surrogate(text[largest_piece]);
    return text.substr(0, parts_pair ? largest_piece - 1 : largest_piece);
}

std::int32_t icu_size(std::size_t size) noexcept {
    constexpr std::size_t largest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(size, largest));
}

} // namespace

std::size_t widen_ascii(char16_t* to, const char* from, std::size_t count) noexcept {
    return kernels().widen_ascii(to, from, count);
}

std::size_t narrow_ascii(char* to, const char16_t* from, std::size_t count) noexcept {
    return kernels().narrow_ascii(to, from, count);
}

std::size_t narrow_to_nul(char* to, const char16_t* from, std::size_t count) noexcept {
    return kernels().narrow_to_nul(to, from, count);
}

bool is_ascii(std::string_view text) noexcept { return kernels().is_ascii(text.data(), text.size()); }

bool is_utf8(std::string_view text) noexcept {
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.data(), icu_size(text.size()), &status);
    return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

std::size_t utf16_length(std::string_view text) noexcept {
    return kernels().utf16_length(text.data(), text.size());
}

std::size_t utf8_length(std::u16string_view text) noexcept {
    return kernels().utf8_length(text.data(), text.size());
}

std::size_t find_nul(const char16_t* text, std::size_t count) noexcept {
    return kernels().find_nul(text, count);
}

std::optional<std::size_t> utf8_to_utf16(std::string_view text, char16_t* to, std::size_t room) noexcept {
    const std::size_t ascii = widen_ascii(to, text.data(), text.size());
    const std::string_view rest = text.substr(ascii);
    if (rest.empty()) return ascii;
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR; // a warning that there is no terminator is a success too
    u_strFromUTF8(to + ascii, icu_size(room - ascii), &length, rest.data(), icu_size(rest.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    return ascii + static_cast<std::size_t>(length);
}

std::size_t utf8_to_utf16_substituting(std::string_view text, char16_t* to) noexcept {
    const std::size_t ascii = widen_ascii(to, text.data(), text.size());
    const std::int32_t rest = icu_size(text.size() - ascii);
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR; // stays a success: no text has more units than it has bytes
    u_strFromUTF8WithSub(to + ascii, rest, &length, text.data() + ascii, rest, substitute, nullptr, &status);
    return ascii + static_cast<std::size_t>(length);
}

void utf16_to_utf8(std::u16string_view text, char* to, std::size_t length) noexcept {
    const char* const end = to + length;
    const std::size_t ascii = narrow_ascii(to, text.data(), text.size());
    text.remove_prefix(ascii);
    to += ascii;
    while (!text.empty()) {
        const std::u16string_view piece = piece_of(text);
        std::int32_t written = 0;
        UErrorCode status = U_ZERO_ERROR; // stays a success: the room is what the text needs
        u_strToUTF8WithSub(to, icu_size(static_cast<std::size_t>(end - to)), &written, piece.data(),
                           icu_size(piece.size()), substitute, nullptr, &status);
        text.remove_prefix(piece.size());
        to += written;
    }
}

} // namespace fl::i18n
