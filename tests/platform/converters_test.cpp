// Converters by thread and name, against ICU's own full conversion.
#include "support/system_encoding.hpp"
#include "support/text_pieces.hpp"

#include <fl/i18n/unicode_converter.hpp>
#include <libbase/encodings.hpp>
#include <nd/conversion_errors.hpp>
#include <nd/from_utf16_converter.hpp>

#include <gtest/gtest.h>

#include <unicode/uclean.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using I18N::FromUTF16Converter;
using I18N::UnicodeConverterX;
using test::system_encoding;
using test::text_pieces;

constexpr const char* encodings[] = {"UTF-8",      "Shift_JIS", "gb18030",     "GBK",         "EUC-KR",
                                     "ISO-8859-1", "EUC-JP",    "windows-949", "ISO-2022-JP", "UTF-16BE",
                                     "US-ASCII",   "Big5",      "UTF-7"};

// ICU's conversion with a converter of its own.
class Icu {
public:
    explicit Icu(const char* encoding) : converter_(ucnv_open(encoding, &status_)) {}
    ~Icu() { ucnv_close(converter_); }
    Icu(const Icu&) = delete;
    Icu& operator=(const Icu&) = delete;

    std::string to(const std::u16string& units) {
        std::string bytes(10 * units.size() + 20, '\0');
        status_ = U_ZERO_ERROR;
        const int length = ucnv_fromUChars(converter_, bytes.data(), static_cast<int>(bytes.size()),
                                           units.data(), static_cast<int>(units.size()), &status_);
        bytes.resize(static_cast<std::size_t>(length));
        return bytes;
    }
    std::u16string from(const std::string& bytes) {
        std::u16string units(2 * bytes.size() + 20, u'\0');
        status_ = U_ZERO_ERROR;
        const int length = ucnv_toUChars(converter_, units.data(), static_cast<int>(units.size()),
                                         bytes.data(), static_cast<int>(bytes.size()), &status_);
        units.resize(static_cast<std::size_t>(length));
        return units;
    }

private:
    UErrorCode status_ = U_ZERO_ERROR;
    UConverter* converter_;
};

std::u16string some_text(std::mt19937& random, std::size_t length) {
    constexpr std::u16string_view some =
        u"ab \u00E9\u00D7\u03BC\u4E2D\u6587\u3042\u30AB\uAC00\xD800\xDC00\U0001F600\u20AC\uFFFF\n\0";
    std::u16string text(length, u'\0');
    for (char16_t& unit : text) unit = some[random() % some.size()];
    return text;
}

std::u16string from_encoding(const char* encoding, const std::string& bytes) {
    const std::size_t count = enc_to_utf16_n(encoding, bytes.data(), bytes.size(), nullptr, 0);
    std::u16string units(count + 1, u'#');
    EXPECT_EQ(enc_to_utf16_n(encoding, bytes.data(), bytes.size(), units.data(), count), count);
    EXPECT_EQ(units.back(), u'#');
    units.pop_back();
    return units;
}

TEST(Converters, MakeTheBytesThatIcuMakes) {
    std::mt19937 random(3);
    for (const char* const name : encodings) {
        SCOPED_TRACE(name);
        Icu icu(name);
        FromUTF16Converter converter(name);
        for (const std::size_t length : {0U, 1U, 2U, 10U, 100U, 500U, 1023U, 1024U, 1025U, 5000U}) {
            const std::u16string text = some_text(random, length);
            const std::string expected = icu.to(text);
            ASSERT_EQ(converter.measure(text), expected.size());
            std::string bytes(expected.size() + 1, '#');
            converter.do_conversion(text, bytes.data(), expected.size());
            EXPECT_EQ(bytes, expected + '#');
            EXPECT_EQ(converter.convert(text), expected);
        }
    }
}

// Of these, ICU makes other bytes of a text whose room ends within a character.
TEST(Converters, MakeTheWholeOfLongTexts) {
    std::mt19937 random(9);
    constexpr std::u16string_view some =
        u"ab \u00E9\u0915\u094D\u0937\u093F\u0A15\u0A3E\u0411\u4E2D\u3042\u05D0\u20AC\n";
    for (const char* const name : {"ISCII,version=0", "ISCII,version=2", "LMBCS-1"}) {
        SCOPED_TRACE(name);
        Icu icu(name);
        for (int round = 0; round < 40; ++round) {
            std::u16string text(1 + random() % 4000, u'\0');
            for (char16_t& unit : text) unit = some[random() % some.size()];
            EXPECT_EQ(FromUTF16Converter(name).convert(text), icu.to(text));
        }
    }
}

// Pieces part pairs of surrogates, and what ICU has of a character.
TEST(Converters, MakeTheSameBytesInPieces) {
    std::mt19937 random(6);
    for (const std::size_t piece : {2U, 3U, 7U, 64U}) {
        const text_pieces pieces(piece);
        for (const char* const name : encodings) {
            SCOPED_TRACE(std::string(name) + " by " + std::to_string(piece));
            Icu icu(name);
            auto& shared = UnicodeConverterX::getThreadSpecific(name);
            for (int round = 0; round < 50; ++round) {
                const std::u16string text = some_text(random, random() % 200);
                const std::string expected = icu.to(text);
                ASSERT_EQ(shared.count_bytes(text), expected.size());
                EXPECT_EQ(FromUTF16Converter(name).convert(text), expected);
                for (const std::size_t room : {expected.size(), expected.size() / 2, std::size_t{1}}) {
                    std::string bytes(expected.size() + 1, '#');
                    const auto written = shared.from_utf16(text, bytes.data(), room);
                    const std::size_t count = std::min(room, expected.size());
                    ASSERT_EQ(written.bytes, count);
                    ASSERT_EQ(written.cut, count < expected.size());
                    EXPECT_EQ(bytes.substr(0, count), expected.substr(0, count));
                    EXPECT_EQ(bytes.back(), '#');
                }
            }
        }
    }
}

TEST(Converters, FillABufferAsFarAsItGoes) {
    std::mt19937 random(4);
    for (const char* const name : encodings) {
        SCOPED_TRACE(name);
        Icu icu(name);
        FromUTF16Converter converter(name);
        const std::u16string text = some_text(random, 40);
        const std::string whole = icu.to(text);
        for (std::size_t room = 0; room <= whole.size() + 2; ++room) {
            std::string bytes(whole.size() + 3, '#');
            const std::size_t count = converter.do_conversion_up_to(text, bytes.data(), room);
            ASSERT_EQ(count, std::min(room, whole.size()));
            ASSERT_EQ(bytes.substr(0, count), whole.substr(0, count));
            ASSERT_EQ(bytes.find_first_not_of('#', room), std::string::npos) << "behind the room";
            auto& shared = UnicodeConverterX::getThreadSpecific(name);
            ASSERT_EQ(shared.from_utf16(text, bytes.data(), room).cut, room < whole.size());
        }
        EXPECT_EQ(converter.convert(text), whole) << "nothing is left of the cut ones";
    }
}

TEST(Converters, ReadBytesAsIcuDoes) {
    std::mt19937 random(5);
    for (const char* const name : encodings) {
        SCOPED_TRACE(name);
        Icu icu(name);
        for (int i = 0; i < 300; ++i) {
            std::string bytes = icu.to(some_text(random, random() % 60));
            if (i % 3 == 1) bytes.resize(random() % (bytes.size() + 1)); // cut anywhere
            if (i % 3 == 2)
                for (char& byte : bytes)
                    if (random() % 5 == 0) byte = static_cast<char>(random());
            const std::u16string expected = icu.from(bytes);
            ASSERT_EQ(from_encoding(name, bytes), expected) << testing::PrintToString(bytes);
            std::u16string by_character;
            UnicodeConverterX::getThreadSpecific(name).for_each_character(bytes, [&](UChar32 one) {
                if (one > 0xFFFF) by_character += static_cast<char16_t>(0xD7C0 + (one >> 10));
                by_character += static_cast<char16_t>(one > 0xFFFF ? 0xDC00 + (one & 0x3FF) : one);
            });
            ASSERT_EQ(by_character, expected) << testing::PrintToString(bytes);
        }
    }
}

// What Unicode has for an encoding comes back from it.
TEST(Converters, EveryCharacterOfALegacyEncodingReturns) {
    for (const char* const name : {"Shift_JIS", "gb18030"}) {
        SCOPED_TRACE(name);
        Icu icu(name);
        FromUTF16Converter converter(name);
        for (char32_t one = 1; one < 0x110000; one += one < 0x10000 ? 1 : 17) {
            if (one >= 0xD800 && one < 0xE000) continue;
            std::u16string text{static_cast<char16_t>(one)};
            if (one > 0xFFFF)
                text = {static_cast<char16_t>(0xD7C0 + (one >> 10U)),
                        static_cast<char16_t>(0xDC00 + (one & 0x3FFU))};
            const std::string bytes = converter.convert(text);
            ASSERT_EQ(from_encoding(name, bytes), icu.from(bytes)) << std::hex << std::uint32_t{one};
            if (std::string_view(name) == "gb18030") {
                ASSERT_EQ(from_encoding(name, bytes), text) << std::hex << std::uint32_t{one};
            }
        }
    }
}

TEST(Converters, WithoutANameAreTheSystems) {
    FromUTF16Converter converter(nullptr);
    for (const char* const name : {"Shift_JIS", "UTF-8", "gb18030"}) {
        const system_encoding system(name);
        const std::string bytes = Icu(name).to(u"a\u4E2D\u00D7");
        EXPECT_EQ(converter.convert(u"a\u4E2D\u00D7"), bytes);
        EXPECT_EQ(from_encoding(nullptr, bytes), u"a\u4E2D\u00D7");
    }
}

TEST(Converters, AreOneByNameInAThread) {
    auto& first = UnicodeConverterX::getThreadSpecific("Shift_JIS");
    EXPECT_EQ(&first, &UnicodeConverterX::getThreadSpecific("Shift_JIS"));
    EXPECT_NE(&first, &UnicodeConverterX::getThreadSpecific("gb18030"));
    EXPECT_TRUE(UnicodeConverterX::getThreadSpecific("utf8").is_utf8());
    EXPECT_FALSE(first.is_utf8());
    std::thread([&] {
        auto& other = UnicodeConverterX::getThreadSpecific("Shift_JIS");
        EXPECT_NE(&other, &first);
        EXPECT_EQ(&other, &UnicodeConverterX::getThreadSpecific("Shift_JIS"));
    }).join();
}

TEST(Converters, WorkOnManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::array<bool, 4> well{};
    for (std::size_t i = 0; i < well.size(); ++i)
        threads.emplace_back([&well, i] {
            bool all = true;
            for (int round = 0; round < 200; ++round) {
                const char* const name =
                    encodings[(i + static_cast<std::size_t>(round)) % std::size(encodings)];
                all = FromUTF16Converter(name).convert(u"abc") == Icu(name).to(u"abc") && all;
            }
            well[i] = all;
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(well, (std::array{true, true, true, true}));
}

TEST(Converters, OfNoEncodingAreRefused) {
    for (const char* const name : {"no-such-encoding", "UTF-99"}) {
        EXPECT_THROW(UnicodeConverterX::getThreadSpecific(name), fl::i18n::CvtConversionFailure);
        FromUTF16Converter converter(name);
        EXPECT_THROW(converter.measure(u"a"), fl::i18n::CvtConversionFailure);
        EXPECT_THROW(enc_to_utf16_n(name, "a", 1, nullptr, 0), fl::i18n::CvtConversionFailure);
    }
}

// ICU's own memory. The functions stay installed for the rest of the program: they are malloc and its kin.
long icu_allocations = 0;
long icu_fails_from = 0; // the number of the first that fails; 0 for none

bool icu_may_allocate() { return icu_fails_from == 0 || ++icu_allocations < icu_fails_from; }
void* icu_malloc(const void*, std::size_t size) { return icu_may_allocate() ? std::malloc(size) : nullptr; }
void* icu_realloc(const void*, void* block, std::size_t size) {
    return icu_may_allocate() ? std::realloc(block, size) : nullptr;
}
void icu_free(const void*, void* block) { std::free(block); }

// Opens a converter with one failing allocation after the other; how many failed it.
long refusals_of(const char* name) {
    long refused = 0;
    for (bool opened = false; !opened;) {
        icu_allocations = 0;
        icu_fails_from = refused + 1;
        try {
            UnicodeConverterX::getThreadSpecific(name);
            opened = true;
        } catch (const std::bad_alloc&) {
            ++refused;
        }
        icu_fails_from = 0;
    }
    return refused;
}

TEST(Converters, RaiseWhenIcuIsOutOfMemory) {
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, &icu_malloc, &icu_realloc, &icu_free, &status);
    ASSERT_TRUE(U_SUCCESS(status));
    for (const char* const name : {"ISO-2022-KR", "IBM-1047", "HZ", "ISO-8859-2"}) {
        SCOPED_TRACE(name);
        std::thread([=] { // where none is open yet
            EXPECT_GT(refusals_of(name), 0);
            EXPECT_FALSE(FromUTF16Converter(name).convert(u"a").empty());
        })
            .join();
    }
}

TEST(Converters, RefuseBytesThatIcuCannotCount) {
    const std::string_view bytes("", std::size_t{1} << 31); // not read
    EXPECT_THROW(UnicodeConverterX::getThreadSpecific("UTF-8").to_utf16(bytes, nullptr, 0),
                 fl::i18n::CvtSizeTooLarge);
}

TEST(Encodings, LengthsEndAtTheNul) {
    EXPECT_EQ(utf16_strlen(u""), 0U);
    EXPECT_EQ(utf16_strlen(u"ab\0c"), 2U);
    EXPECT_EQ(utf16_strlen_lim(u"ab\0c", 4), 2U);
    EXPECT_EQ(utf16_strlen_lim(u"abc", 2), 2U);
    EXPECT_EQ(utf16_strlen_lim(nullptr, 0), 0U);
}

} // namespace
