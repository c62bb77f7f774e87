// The ICU converters of a thread.
#pragma once

#include <unicode/ucnv.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace I18N {

// One encoding's converter, which belongs to one thread and lives until that thread ends. What doesn't convert is substituted, as
// ICU does it. Each operation begins and ends without state. Raises fl::i18n::CvtSizeTooLarge, CvtInvalidCharacter and
// CvtConversionFailure, and std::bad_alloc.
class UnicodeConverterX {
public:
    // The calling thread's converter for an encoding, by a name that ICU knows; null: the system's encoding.
    // Raises CvtConversionFailure when there is no such encoding.
    static UnicodeConverterX& getThreadSpecific(const char* encoding);

    bool is_utf8() const noexcept { return is_utf8_; }

    // The UTF-16 units that bytes have; as many as there is room for are written. Text of 2 GiB or more is too large.
    std::size_t to_utf16(std::string_view bytes, char16_t* to, std::size_t room);

    // Calls use(UChar32) for each character of bytes.
    template <class Use>
    void for_each_character(std::string_view bytes, Use&& use) {
        const reset_after guard{get()};
        const char* at = bytes.data();
        const char* const end = at + bytes.size();
        for (;;) {
            UErrorCode status = U_ZERO_ERROR;
            const UChar32 character = ucnv_getNextUChar(get(), &at, end, &status);
            if (status == U_INDEX_OUTOFBOUNDS_ERROR)
                return; // a character that was cut comes behind the last byte
            check(status);
            use(character);
        }
    }

    // The bytes that text has. Takes memory for the most that they can be, unless the encoding is UTF-8.
    std::size_t count_bytes(std::u16string_view text);

    struct written {
        std::size_t bytes;
        bool cut; // there was more text than room
    };
    // Writes as many bytes as there is room for, perhaps a part of the last character's.
    written from_utf16(std::u16string_view text, char* to, std::size_t room);

    UConverter* get() const noexcept { return converter_.get(); }

    UnicodeConverterX(const UnicodeConverterX&) = delete;
    UnicodeConverterX& operator=(const UnicodeConverterX&) = delete;

private:
    explicit UnicodeConverterX(const char* encoding);

    // One call of ICU. How far it got: the end of the text, of the room, or of what goes at once.
    enum class progress { finished, out_of_room, out_of_text };
    progress convert_piece(const char16_t*& from, const char16_t* end, char*& at, std::size_t room);

    // Whether bytes are left, in the converter or in the text from there on.
    bool makes_bytes(const char16_t* from, const char16_t* end);

    // Raises what a failed status means.
    static void check(UErrorCode status);

    struct closer {
        void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
    };
    struct reset_after {
        UConverter* converter;
        ~reset_after() { ucnv_reset(converter); }
    };
    friend struct thread_converters;

    std::string encoding_;
    std::unique_ptr<UConverter, closer> converter_;
    bool is_utf8_;
    UnicodeConverterX* next_ = nullptr; // of the same thread
};

} // namespace I18N
