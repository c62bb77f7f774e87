// UTF-8 and UTF-16 both ways, with each instruction set, against plain loops and ICU's converter.
#include "support/instruction_sets.hpp"
#include "support/text_pieces.hpp"

#include <fl/i18n/utf8.hpp>

#include <gtest/gtest.h>

#include <unicode/ucnv.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

namespace i18n = fl::i18n;
using test::for_each_instruction_set;

constexpr std::size_t lengths[] = {0,  1,  2,  7,   8,   9,   15,  16,  17,  31,   32,  33,
                                   63, 64, 65, 127, 128, 129, 191, 255, 256, 1000, 1025};

// What ICU's UTF-8 converter makes of text.
class Icu {
public:
    Icu() : converter_(ucnv_open("UTF-8", &status_), &ucnv_close) {}

    std::u16string from(const std::string& utf8) {
        std::u16string units(utf8.size() + 1, u'\0');
        status_ = U_ZERO_ERROR;
        const int length = ucnv_toUChars(converter_.get(), units.data(), static_cast<int>(units.size()),
                                         utf8.data(), static_cast<int>(utf8.size()), &status_);
        EXPECT_TRUE(U_SUCCESS(status_));
        units.resize(static_cast<std::size_t>(length));
        return units;
    }

    std::string to(const std::u16string& units) {
        std::string utf8(3 * units.size() + 1, '\0');
        status_ = U_ZERO_ERROR;
        const int length = ucnv_fromUChars(converter_.get(), utf8.data(), static_cast<int>(utf8.size()),
                                           units.data(), static_cast<int>(units.size()), &status_);
        EXPECT_TRUE(U_SUCCESS(status_));
        utf8.resize(static_cast<std::size_t>(length));
        return utf8;
    }

private:
    UErrorCode status_ = U_ZERO_ERROR;
    std::unique_ptr<UConverter, void (*)(UConverter*)> converter_;
};

// The library's way to UTF-16; nothing when the text isn't well-formed. Room is what the length says, and nothing behind it changes.
std::optional<std::u16string> to_utf16(const std::string& utf8) {
    const std::size_t room = i18n::utf16_length(utf8);
    std::u16string units(room + 1, u'#');
    const auto length = i18n::utf8_to_utf16(utf8, units.data(), room);
    EXPECT_EQ(units.back(), u'#');
    if (!length) return std::nullopt;
    EXPECT_EQ(*length, room);
    EXPECT_LE(room, utf8.size());
    units.resize(*length);
    return units;
}

std::u16string to_utf16_substituting(const std::string& utf8) {
    std::u16string units(utf8.size(), u'#');
    units.resize(i18n::utf8_to_utf16_substituting(utf8, units.data()));
    return units;
}

std::string to_utf8(const std::u16string& units) {
    const std::size_t length = i18n::utf8_length(units);
    std::string utf8(length + 1, '#');
    i18n::utf16_to_utf8(units, utf8.data(), length);
    EXPECT_EQ(utf8.back(), '#');
    utf8.pop_back();
    return utf8;
}

std::u16string character(std::uint32_t code_point) {
    if (code_point <= 0xFFFF) return {static_cast<char16_t>(code_point)};
    return {static_cast<char16_t>(0xD7C0 + (code_point >> 10U)),
            static_cast<char16_t>(0xDC00 + (code_point & 0x3FFU))};
}

std::string ascii_text(std::size_t length) {
    std::string text(length, '\0');
    for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>(i * 37 % 128);
    return text;
}

TEST(Utf8, AsciiIsCopiedUpToTheFirstOther) {
    for_each_instruction_set([] {
        for (const std::size_t length : lengths) {
            const std::string ascii = ascii_text(length);
            const std::u16string wide(ascii.begin(), ascii.end());
            for (std::size_t stop = 0; stop <= length; ++stop) {
                std::string bytes = ascii;
                std::u16string units = wide;
                if (stop < length) {
                    bytes[stop] = '\x80';
                    units[stop] = 0x80;
                }
                std::u16string widened(length + 1, u'#');
                ASSERT_EQ(i18n::widen_ascii(widened.data(), bytes.data(), length), stop);
                ASSERT_EQ(widened.substr(0, stop), wide.substr(0, stop));
                ASSERT_EQ(widened.back(), u'#');
                std::string narrowed(length + 1, '#');
                ASSERT_EQ(i18n::narrow_ascii(narrowed.data(), units.data(), length), stop);
                ASSERT_EQ(narrowed.substr(0, stop), ascii.substr(0, stop));
                ASSERT_EQ(narrowed.back(), '#');
                ASSERT_EQ(i18n::is_ascii(bytes), stop == length);
                if (stop > 200) stop += 61;
            }
        }
    });
}

// At each place of short and of longer texts, in blocks of the very size, so that nothing beside them is touched.
TEST(Utf8, TextIsNarrowedUpToItsNulOrTheFirstOther) {
    static constexpr char16_t others[] = {0, 0x80, 0xFF, 0x100, 0x7F00, 0x8000, 0xD800, 0xFFFF};
    for_each_instruction_set([] {
        for (std::size_t length = 0; length <= 300; length += length < 70 ? 1 : 23) {
            const auto units = std::make_unique<char16_t[]>(length);
            const auto narrowed = std::make_unique<char[]>(length);
            const auto expect_stop = [&](std::size_t stop) {
                ASSERT_EQ(i18n::narrow_to_nul(narrowed.get(), units.get(), length), stop) << length;
                for (std::size_t i = 0; i < stop; ++i) ASSERT_EQ(narrowed[i], static_cast<char>(units[i]));
            };
            for (std::size_t i = 0; i < length; ++i) units[i] = static_cast<char16_t>(1 + i * 37 % 127);
            expect_stop(length);
            for (std::size_t at = 0; at < length; ++at) {
                const char16_t before = units[at];
                for (const char16_t other : others) {
                    units[at] = other;
                    expect_stop(at);
                }
                units[at] = before;
            }
        }
    });
}

// A unit whose low byte alone looks like ASCII.
TEST(Utf8, UnitsAboveAByteAreNotAscii) {
    for_each_instruction_set([] {
        for (const char16_t unit : {u'\u0100', u'\u0141', u'\u8000', u'\uFF00', u'\u00FF'}) {
            std::u16string text(100, u'a');
            text[70] = unit;
            std::string narrowed(100, '#');
            EXPECT_EQ(i18n::narrow_ascii(narrowed.data(), text.data(), text.size()), 70U);
        }
    });
}

TEST(Utf8, FindsTheFirstNul) {
    for_each_instruction_set([] {
        for (const std::size_t length : lengths) {
            const std::u16string text(length, u'\u0100'); // its low byte is 0
            EXPECT_EQ(i18n::find_nul(text.data(), length), length);
            for (std::size_t at = 0; at < length; at += 1 + at / 16) {
                std::u16string cut = text;
                cut[at] = 0;
                cut.back() = 0;
                EXPECT_EQ(i18n::find_nul(cut.data(), length), at);
            }
        }
    });
}

TEST(Utf8, EveryCodePointGoesThereAndBack) {
    for_each_instruction_set([] {
        Icu icu;
        for (std::uint32_t first = 0; first < 0x110000; first += 64) {
            if (first >= 0xD800 && first < 0xE000) continue;
            std::u16string units;
            for (std::uint32_t one = first; one < first + 64; ++one) units += character(one);
            const std::string utf8 = to_utf8(units);
            ASSERT_EQ(utf8, icu.to(units)) << first;
            ASSERT_EQ(to_utf16(utf8), units) << first;
            ASSERT_EQ(to_utf16_substituting(utf8), units) << first;
        }
    });
}

TEST(Utf8, EachUnpairedSurrogateIsSubstituted) {
    for_each_instruction_set([] {
        Icu icu;
        const std::string substitute = "\xEF\xBF\xBD";
        for (char16_t unit = 0xD800; unit < 0xE000; ++unit) {
            const std::u16string alone{unit};
            const std::u16string before = u'a' + alone + u'b';
            const std::u16string twice = alone + alone;
            ASSERT_EQ(to_utf8(alone), substitute);
            ASSERT_EQ(to_utf8(before), "a" + substitute + "b");
            ASSERT_EQ(to_utf8(twice), substitute + substitute);
            ASSERT_EQ(icu.to(before), "a" + substitute + "b");
        }
    });
}

// Leads and trails in every order, at every place of a vector.
TEST(Utf8, SurrogatesInAnyOrder) {
    for_each_instruction_set([] {
        Icu icu;
        std::mt19937 random(1);
        constexpr char16_t some[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, u'a', u'\u00E9', u'\u4E2D'};
        for (int i = 0; i < 5000; ++i) {
            std::u16string units(random() % 130, u'\0');
            for (char16_t& unit : units) unit = some[random() % std::size(some)];
            ASSERT_EQ(to_utf8(units), icu.to(units));
        }
    });
}

// A pair stays together, though it is where a piece would end.
TEST(Utf8, InPieces) {
    Icu icu;
    std::mt19937 random(7);
    constexpr char16_t some[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, u'a', u'\u00E9', u'\u4E2D'};
    for (const std::size_t piece : {2U, 3U, 4U, 31U}) {
        const test::text_pieces pieces(piece);
        for (int i = 0; i < 1000; ++i) {
            std::u16string units(random() % 100, u'\0');
            for (char16_t& unit : units) unit = some[random() % std::size(some)];
            ASSERT_EQ(to_utf8(units), icu.to(units)) << piece;
        }
    }
}

TEST(Utf8, IsCutAtEachByte) {
    for_each_instruction_set([] {
        Icu icu;
        const std::string text = "abcdefgh\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80zz\xF4\x8F\xBF\xBF";
        for (std::size_t length = 0; length <= text.size(); ++length) {
            const std::string cut = text.substr(0, length);
            const std::u16string expected = icu.from(cut);
            const bool whole = expected.find(u'\uFFFD') == std::u16string::npos;
            EXPECT_EQ(to_utf16(cut).has_value(), whole) << length;
            EXPECT_EQ(to_utf16_substituting(cut), expected) << length;
            if (whole) {
                EXPECT_EQ(to_utf16(cut), expected) << length;
            }
        }
    });
}

TEST(Utf8, IsNotAcceptedInOtherForms) {
    const char* const broken[] = {
        "\x80",             // continuation alone
        "\xC0\x80",         // NUL in two bytes
        "\xC1\xBF",         // ASCII in two bytes
        "\xE0\x9F\xBF",     // two bytes' worth in three
        "\xED\xA0\x80",     // a lead surrogate
        "\xED\xBF\xBF",     // a trail surrogate
        "\xF0\x8F\xBF\xBF", // three bytes' worth in four
        "\xF4\x90\x80\x80", // above U+10FFFF
        "\xF5\x80\x80\x80",
        "\xFE",
        "\xFF",
        "\xC3",
        "\xC3\x28",
        "\xE4\xB8",
        "\xF0\x9F\x98",
    };
    Icu icu;
    for (const char* const bytes : broken) {
        for (const char* const before : {"", "abc", "\xC3\xA9"}) {
            for (const char* const after : {"", "abc", "\xC3\xA9"}) {
                const std::string text = std::string(before) + bytes + after;
                EXPECT_EQ(to_utf16(text), std::nullopt) << testing::PrintToString(text);
                EXPECT_EQ(to_utf16_substituting(text), icu.from(text)) << testing::PrintToString(text);
            }
        }
    }
}

// All texts of two bytes, three bytes from the borders of the ranges, and random ones.
TEST(Utf8, AgreesWithIcuOnAnyBytes) {
    Icu icu;
    const auto agree = [&](const std::string& text) {
        const std::u16string expected = icu.from(text);
        const auto mine = to_utf16(text);
        const bool substituted = to_utf8(expected) != text;
        return to_utf16_substituting(text) == expected && mine.has_value() == !substituted &&
               (!mine || *mine == expected);
    };
    for (unsigned a = 0; a < 256; ++a)
        for (unsigned b = 0; b < 256; ++b)
            ASSERT_TRUE(agree({static_cast<char>(a), static_cast<char>(b)})) << a << ' ' << b;
    constexpr unsigned char borders[] = {0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                         0xC2, 0xE0, 0xEC, 0xED, 0xEF, 0xF0, 0xF4, 0xF5};
    for (const unsigned char a : borders)
        for (const unsigned char b : borders)
            for (const unsigned char c : borders)
                for (const unsigned char d : borders)
                    ASSERT_TRUE(agree({static_cast<char>(a), static_cast<char>(b), static_cast<char>(c),
                                       static_cast<char>(d)}));
    std::mt19937 random(2);
    for (int i = 0; i < 3000; ++i) {
        std::string text(random() % 200, '\0');
        for (char& byte : text) byte = static_cast<char>(borders[random() % std::size(borders)]);
        ASSERT_TRUE(agree(text)) << testing::PrintToString(text);
    }
}

// The sums of the loops that count are emptied now and then.
TEST(Utf8, LengthsOfLongTexts) {
    for_each_instruction_set([] {
        for (const std::size_t count : {std::size_t{20000}, std::size_t{3'000'001}}) {
            std::string utf8;
            std::u16string units;
            for (std::size_t i = 0; i < count; i += 4) {
                utf8 += "\xF0\x9F\x98\x80";
                units += u"\U0001F600";
            }
            EXPECT_EQ(i18n::utf16_length(utf8), units.size());
            EXPECT_EQ(i18n::utf8_length(units), utf8.size());
            EXPECT_EQ(i18n::utf8_length(std::u16string(count, u'\u4E2D')), 3 * count);
            EXPECT_EQ(i18n::utf8_length(std::u16string(count, 0xD800)), 3 * count);
            EXPECT_EQ(i18n::utf16_length(std::string(count, 'a')), count);
        }
    });
}

} // namespace
