// Converters by thread and name, and conversion in pieces that ICU can count.
#include <fl/i18n/unicode_converter.hpp>

#include <fl/i18n/message_catalog.hpp>
#include <fl/i18n/pieces.hpp>
#include <fl/i18n/utf8.hpp>
#include <nd/conversion_errors.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace I18N {

// The calling thread's converters. The list outlives the thread's other objects: what one of those opens when the closing is
// over stays open until the process ends.
struct thread_converters {
    UnicodeConverterX* first = nullptr;
    bool closes_at_exit = false;

    UnicodeConverterX* find(std::string_view encoding) const noexcept {
        UnicodeConverterX* one = first;
        while (one != nullptr && one->encoding_ != encoding) one = one->next_;
        return one;
    }
    UnicodeConverterX& open(const char* encoding) {
        auto* const made = new UnicodeConverterX(encoding);
        made->next_ = std::exchange(first, made);
        return *made;
    }
    void close_all() noexcept {
        while (first != nullptr) delete std::exchange(first, first->next_);
    }
};

namespace {

constinit thread_local thread_converters converters;

struct exit_cleanup {
    bool registered = false;
    ~exit_cleanup() { converters.close_all(); }
};
thread_local exit_cleanup cleanup;

constexpr std::size_t largest_icu_size = std::numeric_limits<std::int32_t>::max();

} // namespace

UnicodeConverterX& UnicodeConverterX::getThreadSpecific(const char* encoding) {
    if (encoding == nullptr) encoding = fl::i18n::KvLocale::system().encoding().c_str();
    if (UnicodeConverterX* const known = converters.find(encoding)) return *known;
    cleanup.registered = true; // the first touch makes the object whose destructor runs at thread exit
    return converters.open(encoding);
}

UnicodeConverterX::UnicodeConverterX(const char* encoding) : encoding_(encoding) {
    UErrorCode status = U_ZERO_ERROR;
    converter_.reset(ucnv_open(encoding, &status));
    if (status == U_FILE_ACCESS_ERROR) throw fl::i18n::CvtConversionFailure("there is no such encoding");
    check(status);
    is_utf8_ = ucnv_getType(get()) == UCNV_UTF8;
}

void UnicodeConverterX::check(UErrorCode status) {
    if (U_SUCCESS(status)) return;
    switch (status) {
    case U_MEMORY_ALLOCATION_ERROR:
        throw std::bad_alloc();
    case U_BUFFER_OVERFLOW_ERROR:
    case U_INDEX_OUTOFBOUNDS_ERROR:
        throw fl::i18n::CvtSizeTooLarge(u_errorName(status));
    case U_INVALID_CHAR_FOUND:
    case U_ILLEGAL_CHAR_FOUND:
    case U_TRUNCATED_CHAR_FOUND:
        throw fl::i18n::CvtInvalidCharacter(u_errorName(status));
    default:
        throw fl::i18n::CvtConversionFailure(u_errorName(status));
    }
}

std::size_t UnicodeConverterX::to_utf16(std::string_view bytes, char16_t* to, std::size_t room) {
    if (bytes.size() > largest_icu_size) throw fl::i18n::CvtSizeTooLarge("text of 2 GiB or more");
    const reset_after guard{get()};
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length =
        ucnv_toUChars(get(), to, static_cast<std::int32_t>(std::min(room, largest_icu_size)), bytes.data(),
                      static_cast<std::int32_t>(bytes.size()), &status);
    if (status != U_BUFFER_OVERFLOW_ERROR) check(status);
    return static_cast<std::size_t>(length);
}

UnicodeConverterX::progress UnicodeConverterX::convert_piece(const char16_t*& from, const char16_t* end,
                                                             char*& at, std::size_t room) {
    using fl::i18n::largest_piece;
    const char16_t* const piece_end = from + std::min(largest_piece, static_cast<std::size_t>(end - from));
    char* const limit = at + std::min(largest_piece, room);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(get(), &at, limit, &from, piece_end, nullptr, piece_end == end, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) return progress::out_of_room;
    check(status);
    return piece_end == end ? progress::finished : progress::out_of_text;
}

UnicodeConverterX::written UnicodeConverterX::from_utf16(std::u16string_view text, char* to,
                                                         std::size_t room) {
    const reset_after guard{get()};
    const std::size_t ascii =
        is_utf8() ? fl::i18n::narrow_ascii(to, text.data(), std::min(text.size(), room)) : 0;
    const char16_t* from = text.data() + ascii;
    const char16_t* const end = text.data() + text.size();
    char* at = to + ascii;
    for (;;) {
        const progress made = convert_piece(from, end, at, room - static_cast<std::size_t>(at - to));
        const auto bytes = static_cast<std::size_t>(at - to);
        if (made == progress::finished) return {bytes, false};
        if (made == progress::out_of_room && bytes == room) return {bytes, makes_bytes(from, end)};
    }
}

// Characters that nobody sees become nothing in encodings that lack them.
bool UnicodeConverterX::makes_bytes(const char16_t* from, const char16_t* end) {
    std::array<char, 16> unused;
    for (;;) {
        char* at = unused.data();
        const progress made = convert_piece(from, end, at, unused.size());
        if (at != unused.data()) return true;
        if (made == progress::finished) return false;
    }
}

std::size_t UnicodeConverterX::count_bytes(std::u16string_view text) {
    if (is_utf8()) return fl::i18n::utf8_length(text);
    // In one go: where the room ends within a character, some of ICU's converters go on with other bytes.
    const std::size_t most = (text.size() + 10) * static_cast<std::size_t>(ucnv_getMaxCharSize(get()));
    const auto unused = std::make_unique_for_overwrite<char[]>(most);
    return from_utf16(text, unused.get(), most).bytes;
}

} // namespace I18N
