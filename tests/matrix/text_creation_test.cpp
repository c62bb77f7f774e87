// Char rows from bytes and from UTF-16, and the colon of a subscript list.
#include "matrix/long_text.hpp"
#include "matrix/process_state.hpp"
#include "matrix/text_creation.hpp"
#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"
#include "support/instruction_sets.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <nd/cache.hpp>
#include <nd/sizes.hpp>
#include <unicode/ustring.h>

#include <cstring>

namespace test {
namespace {

using matrix::array_ptr;

using TextCreation = TextTest;

TEST_F(TextCreation, MakesARowOfTheCodeUnits) {
    for (const char16_t* text : {u"a", u":", u"text", u"\u00E9\u4E2D\U0001F600", u"\xD800\xFFFF\x0001"}) {
        const array_ptr made(api::ndCreateString_UTF16(text));
        EXPECT_THAT(made, EqualsArray(arr("char", text)));
        EXPECT_EQ(api::ndGetM(made.get()), 1U);
        EXPECT_EQ(api::ndGetN(made.get()), std::char_traits<char16_t>::length(text));
    }
}

TEST_F(TextCreation, MakesNothingByNothingOfNoText) {
    const array_ptr made(api::ndCreateString_UTF16(u""));
    EXPECT_TRUE(api::ndIsChar(made.get()));
    EXPECT_EQ(api::ndGetM(made.get()), 0U);
    EXPECT_EQ(api::ndGetN(made.get()), 0U);
}

// Each creator of rows, over bytes that are UTF-8.
struct byte_creator {
    const char* name;
    ndArray_tag* (*make)(const std::string& bytes);
};
const byte_creator byte_creators[] = {
    {"ndCreateString", [](const std::string& bytes) { return api::ndCreateString(bytes.c_str()); }},
    {"ndCreateStringFromNChars",
     [](const std::string& bytes) { return api::ndCreateStringFromNChars(bytes.data(), bytes.size()); }},
    {"ndCreateString_UTF8",
     [](const std::string& bytes) { return api::ndCreateString_UTF8(utf8(bytes.c_str())); }},
    {"ndCreateStringFromNChars_UTF8",
     [](const std::string& bytes) {
         return api::ndCreateStringFromNChars_UTF8(utf8(bytes.data()), bytes.size());
     }},
    {"NdCreateStringNCharsT_safe<char>",
     [](const std::string& bytes) {
         return matrix::detail::NdCreateStringNCharsT_safe(bytes.data(), bytes.size(), "UTF-8");
     }},
    {"NdCreateStringNCharsT_safe<unsigned char>",
     [](const std::string& bytes) {
         return matrix::detail::NdCreateStringNCharsT_safe(utf8(bytes.data()), bytes.size(), "auto");
     }},
};

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    while (result.size() + text.size() <= count) result += text;
    return result + std::string(count - result.size(), '.');
}

std::u16string by_icu(const std::string& bytes) {
    std::u16string units(bytes.size(), u'\0');
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<std::int32_t>(units.size()), &length, bytes.data(),
                         static_cast<std::int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
    units.resize(static_cast<std::size_t>(length));
    return units;
}

TEST_F(TextCreation, MakesARowOfTheCharactersOfUtf8) {
    const struct {
        const char* bytes;
        const char16_t* text;
    } rows[] = {
        {"a", u"a"},
        {"some text", u"some text"},
        {"\xC3\xA9", u"\u00E9"},
        {"caf\xC3\xA9 \xE4\xB8\xAD\xE6\x96\x87", u"caf\u00E9 \u4E2D\u6587"},
        {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"\xEF\xBF\xBD", u"\uFFFD"},
        {"\xEF\xBB\xBFx", u"\uFEFFx"},
        {"\x7F\x01", u"\x7F\x01"},
    };
    for (const byte_creator& creator : byte_creators) {
        for (const auto& row : rows) {
            const array_ptr made(creator.make(row.bytes));
            EXPECT_THAT(made, EqualsArray(arr("char", row.text))) << creator.name << ' ' << row.bytes;
            EXPECT_EQ(dims_in(made.get()), (dims_list{1, std::char_traits<char16_t>::length(row.text)}));
        }
        EXPECT_EQ(dims_in(own(creator.make("")).get()), (dims_list{0, 0})) << creator.name;
    }
}

// One unit, 233.
TEST_F(TextCreation, MakesOneUnitOfAnAcuteE) {
    const array_ptr made(api::ndCreateString("\xC3\xA9"));
    ASSERT_EQ(dims_in(made.get()), (dims_list{1, 1}));
    EXPECT_EQ(*static_cast<const char16_t*>(made->pdata), 233);
}

TEST_F(TextCreation, TakesNullForNoText) {
    const array_ptr made[] = {
        own(api::ndCreateString(nullptr)),
        own(api::ndCreateStringFromNChars(nullptr, 5)),
        own(api::ndCreateString_UTF8(nullptr)),
        own(api::ndCreateStringFromNChars_UTF8(nullptr, 5)),
        own(api::ndCreateString_UTF16(nullptr)),
        own(api::ndCreateStringFromNChars_UTF16(nullptr, 5)),
        own(api::ndCreateStringFromNChars("abc", 0)),
        own(api::ndCreateStringFromNChars_UTF8(utf8("abc"), 0)),
        own(api::ndCreateStringFromNChars_UTF16(u"abc", 0)),
    };
    for (const array_ptr& array : made) {
        EXPECT_TRUE(api::ndIsChar(array.get()));
        EXPECT_EQ(dims_in(array.get()), (dims_list{0, 0}));
    }
}

TEST_F(TextCreation, TakesNulsWhereALengthIsGiven) {
    const std::u16string_view text(u"a\0b\0", 4);
    EXPECT_THAT(own(api::ndCreateStringFromNChars("a\0b\0", 4)), EqualsArray(arr("char", text)));
    EXPECT_THAT(own(api::ndCreateStringFromNChars_UTF8(utf8("a\0b\0"), 4)), EqualsArray(arr("char", text)));
    EXPECT_THAT(own(api::ndCreateStringFromNChars_UTF16(u"a\0b\0", 4)), EqualsArray(arr("char", text)));
    EXPECT_THAT(own(api::ndCreateString("a\0b\0")), EqualsArray(arr("char", u"a")));
    EXPECT_THAT(own(api::ndCreateString_UTF16(u"a\0b\0")), EqualsArray(arr("char", u"a")));
}

// The text lies in nobody's buffer but the array's: it needn't end in a NUL, and nothing behind it is read.
TEST_F(TextCreation, ReadsNoFurtherThanToldTo) {
    const std::unique_ptr<char[]> exact(new char[5]);
    std::memcpy(exact.get(), "ab\xC3\xA9z", 5);
    EXPECT_THAT(own(api::ndCreateStringFromNChars(exact.get(), 5)), EqualsArray(arr("char", u"ab\u00E9z")));
    EXPECT_THAT(own(api::ndCreateStringFromNChars(exact.get(), 2)), EqualsArray(arr("char", u"ab")));
}

// Around what fits the stack, in bytes and in units, with each instruction set.
TEST_F(TextCreation, AgreesWithIcuAtEveryLength) {
    for_each_instruction_set([] {
        for (const std::size_t length : {1U, 15U, 63U, 64U, 65U, 1023U, 1024U, 1025U, 2047U, 2048U, 2049U,
                                         3072U, 3073U, 8120U, 8121U, 100000U}) {
            for (const char* pattern : {"abcdefg", "\xC3\xA9", "a\xE4\xB8\xAD", "\xF0\x9F\x98\x80"}) {
                const std::string bytes = repeated(pattern, length);
                for (const byte_creator& creator : byte_creators)
                    ASSERT_THAT(own(creator.make(bytes)), EqualsArray(arr("char", by_icu(bytes))))
                        << creator.name << ' ' << length << ' ' << pattern;
            }
        }
    });
}

// One other character in ASCII, wherever it is.
TEST_F(TextCreation, FindsTheOneCharacterThatIsNotAscii) {
    for_each_instruction_set([] {
        for (const std::size_t at : {0U, 1U, 500U, 1022U, 1023U, 1024U, 1025U, 2998U}) {
            std::string bytes(3000, 'x');
            bytes.replace(at, 2, "\xC3\xA9");
            std::u16string text(2999, u'x');
            text[at] = u'\u00E9';
            ASSERT_THAT(own(api::ndCreateString(bytes.c_str())), EqualsArray(arr("char", text))) << at;
        }
    });
}

// The same at each place of short texts, where pairs are ready and where they aren't.
TEST_F(TextCreation, FindsItAtEachPlaceOfAShortText) {
    const bool before = matrix::cache::isEnabled();
    for (const bool cached : {true, false}) {
        matrix::cache::setEnabled(cached);
        for_each_instruction_set([] {
            for (std::size_t length = 1; length <= 70; ++length) {
                const std::string ascii(length, 'x');
                for (const byte_creator& creator : byte_creators)
                    ASSERT_THAT(own(creator.make(ascii)),
                                EqualsArray(arr("char", std::u16string(length, u'x'))));
                for (std::size_t at = 0; at < length; ++at) {
                    std::string bytes = ascii;
                    bytes.replace(at, 1, "\xC3\xA9");
                    std::u16string text(length, u'x');
                    text[at] = u'\u00E9';
                    for (const byte_creator& creator : byte_creators)
                        ASSERT_THAT(own(creator.make(bytes)), EqualsArray(arr("char", text)))
                            << creator.name << ' ' << length << ' ' << at;
                    bytes.replace(at, 2, "\xFF");
                    text[at] = u'\uFFFD';
                    ASSERT_THAT(own(api::ndCreateString(bytes.c_str())), EqualsArray(arr("char", text)))
                        << at;
                }
            }
        });
        matrix::cache::clear();
    }
    matrix::cache::setEnabled(before);
}

// NULs are characters like others where the length is given.
TEST_F(TextCreation, KeepsANulAtEachPlace) {
    for (std::size_t length = 1; length <= 70; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::string bytes(length, 'x');
            std::u16string text(length, u'x');
            bytes[at] = '\0';
            text[at] = u'\0';
            ASSERT_THAT(own(api::ndCreateStringFromNChars(bytes.data(), length)),
                        EqualsArray(arr("char", text)));
            ASSERT_THAT(own(api::ndCreateStringFromNChars_UTF8(utf8(bytes.data()), length)),
                        EqualsArray(arr("char", text)));
        }
    }
}

// Where UTF-8 isn't tried, bytes of ASCII needn't be ASCII characters.
TEST_F(TextCreation, AsciiIsTheSystemsWhereUtf8IsNotTried) {
    const text_variable disabled("KV_DISABLE_UTF8_API", "1");
    const system_encoding system("UTF-16BE");
    for (int twice = 0; twice < 2; ++twice) // the variable is read, then known
        EXPECT_THAT(own(api::ndCreateStringFromNChars("abcd", 4)), EqualsArray(arr("char", u"\u6162\u6364")));
    EXPECT_THAT(own(api::ndCreateStringFromNChars_UTF8(utf8("abcd"), 4)), EqualsArray(arr("char", u"abcd")));
}

// Bytes to units and back, for each code point, by the creators that take UTF-8 and the getters that give it.
TEST_F(TextCreation, EveryCodePointGoesInAndOut) {
    for (char32_t first = 1; first < 0x110000; first += 97) {
        std::u16string text;
        for (char32_t one = first; one < first + 97 && one < 0x110000; ++one) {
            if (one >= 0xD800 && one < 0xE000) continue;
            if (one > 0xFFFF) text += static_cast<char16_t>(0xD7C0 + (one >> 10U));
            text += static_cast<char16_t>(one > 0xFFFF ? 0xDC00 + (one & 0x3FFU) : one);
        }
        if (text.empty()) continue;
        const array_ptr by_units(api::ndCreateString_UTF16(text.c_str()));
        const auto bytes = own(api::ndArrayToString(by_units.get()));
        const array_ptr by_bytes(api::ndCreateString(bytes.get()));
        const array_ptr by_utf8(api::ndCreateString_UTF8(utf8(bytes.get())));
        ASSERT_EQ(matrix::get_ustring(by_bytes.get()), text) << std::uint32_t{first};
        ASSERT_EQ(matrix::get_ustring(by_utf8.get()), text) << std::uint32_t{first};
    }
}

TEST_F(TextCreation, BytesThatAreNotUtf8EndTheProcessWhereUtf8IsNamed) {
    const module_mode_scope mode(mode_exceptions);
    for (const char* const bytes : {"\xFF", "abc\x80", "\xC3", "\xE4\xB8", "\xED\xA0\x80", "\xC0\x80"}) {
        const std::string message = std::string("ndCreateString called with non-UTF-8 input: ") + bytes;
        EXPECT_TERMINATE(api::ndCreateString_UTF8(utf8(bytes)), message);
        EXPECT_TERMINATE(api::ndCreateStringFromNChars_UTF8(utf8(bytes), std::strlen(bytes)), message);
    }
    const std::string lengthy = std::string(3000, 'x') + '\xFF';
    EXPECT_TERMINATE(api::ndCreateString_UTF8(utf8(lengthy.c_str())),
                     "ndCreateString called with non-UTF-8 input: " + lengthy);
    EXPECT_TERMINATE(api::ndCreateStringFromNChars_UTF8(utf8("ab\0cd\xFF"), 6),
                     std::string("ndCreateString called with non-UTF-8 input: ab\0cd\xFF", 50));
    EXPECT_NO_TERMINATE(own(api::ndCreateString("\xFF")));
}

TEST_F(TextCreation, BytesThatAreNotUtf8AreSubstitutedWhereChecksAreOff) {
    const diagnostics_switched_off off;
    EXPECT_THAT(own(api::ndCreateString_UTF8(utf8("a\xFFz\xC3"))),
                EqualsArray(arr("char", u"a\uFFFDz\uFFFD")));
    const std::string lengthy = std::string(3000, 'x') + "\xE4\xB8";
    EXPECT_THAT(own(api::ndCreateString_UTF8(utf8(lengthy.c_str()))),
                EqualsArray(arr("char", by_icu(lengthy))));
}

TEST_F(TextCreation, BytesThatAreNotUtf8AreTheSystemsElsewhere) {
    EXPECT_THAT(own(api::ndCreateString("a\xFFz")), EqualsArray(arr("char", u"a\uFFFDz")));
    const system_encoding system("ISO-8859-1");
    EXPECT_THAT(own(api::ndCreateString("a\xFFz\xE9")), EqualsArray(arr("char", u"a\u00FFz\u00E9")));
    std::string lengthy(5000, '\xE9');
    EXPECT_THAT(own(api::ndCreateString(lengthy.c_str())),
                EqualsArray(arr("char", std::u16string(5000, u'\u00E9'))));
    EXPECT_THAT(own(api::ndCreateString("\xC3\xA9")), EqualsArray(arr("char", u"\u00E9"))) << "UTF-8 still";
}

// Text that is cut at any byte is UTF-8, or the system's.
TEST_F(TextCreation, IsMadeOfTextCutAtEachByte) {
    const std::string text = "ab\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";
    for (std::size_t length = 1; length <= text.size(); ++length) {
        const std::string cut = text.substr(0, length);
        EXPECT_THAT(own(api::ndCreateStringFromNChars(cut.data(), length)),
                    EqualsArray(arr("char", by_icu(cut))))
            << length;
    }
}

TEST_F(TextCreation, IsMadeInAnyNamedEncoding) {
    const auto make = [](const char* bytes, const char* encoding) {
        return own(matrix::detail::NdCreateStringNCharsT_safe(bytes, std::strlen(bytes), encoding));
    };
    EXPECT_THAT(make("\x82\xA0\xB1", "Shift_JIS"), EqualsArray(arr("char", u"\u3042\uFF71")));
    EXPECT_THAT(make("\xC3\xA9", "ISO-8859-1"), EqualsArray(arr("char", u"\u00C3\u00A9")));
    EXPECT_THAT(make("\xD6\xD0", "gb18030"), EqualsArray(arr("char", u"\u4E2D")));
    EXPECT_THAT(make("\xC3\xA9", "utf-8"), EqualsArray(arr("char", u"\u00E9"))) << "by the converter";
    EXPECT_THAT(make("\xFF", "utf-8"), EqualsArray(arr("char", u"\uFFFD"))) << "only one name is strict";
    EXPECT_THAT(make("\xC3\xA9", nullptr), EqualsArray(arr("char", u"\u00E9")));
    const system_encoding system("Shift_JIS");
    EXPECT_THAT(make("\xC3\xA9", nullptr), EqualsArray(arr("char", u"\uFF83\uFF69")));
}

// The id of what a call raises; empty when it doesn't.
template <class Call>
std::string id_of(Call&& call) {
    try {
        own(call());
    } catch (const foundation::core::except::IUserException& error) {
        return std::string(error.GetID());
    }
    return {};
}

TEST_F(TextCreation, RefusesTextThatIsTooLongBeforeItIsRead) {
    constexpr std::size_t longest = 0x3fffffff;
    for_each_module_mode([&](int mode) {
        for (const std::size_t n : {longest + 1, std::size_t{1} << 31, SIZE_MAX}) {
            const std::string id = mode == mode_exceptions ? "TARVEL:pmaxsize" : "";
            EXPECT_EQ(id_of([&] { return api::ndCreateStringFromNChars("x", n); }), id);
            EXPECT_EQ(id_of([&] { return api::ndCreateStringFromNChars_UTF8(utf8("x"), n); }), id);
            if (mode != mode_exceptions) {
                EXPECT_EQ(api::ndCreateStringFromNChars("x", n), nullptr);
            }
        }
    });
    EXPECT_NO_THROW(matrix::internal::check_text_size(longest));
}

TEST_F(TextCreation, RefusesStringsThatAreTooLong) {
    const long_text text;
    for_each_module_mode([&](int mode) {
        const std::string id = mode == mode_exceptions ? "TARVEL:pmaxsize" : "";
        EXPECT_EQ(id_of([&] { return api::ndCreateString(text.get()); }), id);
        EXPECT_EQ(id_of([&] { return api::ndCreateString_UTF8(utf8(text.get())); }), id);
    });
}

TEST_F(TextCreation, RefusesEncodingsThatThereAreNot) {
    const auto make = [](const char* encoding) {
        return matrix::detail::NdCreateStringNCharsT_safe("a", 1, encoding);
    };
    for_each_module_mode([&](int mode) {
        for (const char* const encoding : {"no-such-encoding", "Auto", "AUTO"})
            EXPECT_EQ(id_of([&] { return make(encoding); }),
                      mode == mode_exceptions ? "TARVEL:invalidInput" : "");
    });
    const module_mode_scope mode(mode_exceptions);
    const system_encoding system("no-such-encoding");
    EXPECT_EQ(id_of([] { return api::ndCreateString("\xFF"); }), "TARVEL:invalidInput");
    EXPECT_EQ(id_of([] { return api::ndCreateString("plain"); }), "")
        << "UTF-8 needs no encoding of the system";
}

// The limit is on the array's bytes, not on the text's.
TEST_F(TextCreation, IsHeldToTheSizeLimit) {
    const module_mode_scope mode(mode_exceptions);
    const size_limit_scope limit(std::uint64_t{1} << 20, 10); // 104857 bytes
    const std::string ascii(60000, 'x');
    const std::u16string units(60000, u'x');
    const std::string fits = repeated("\xE4\xB8\xAD", 60000);
    EXPECT_EQ(id_of([&] { return api::ndCreateString(ascii.c_str()); }), "TARVEL:array:SizeLimitExceeded");
    EXPECT_EQ(id_of([&] { return api::ndCreateString_UTF16(units.c_str()); }),
              "TARVEL:array:SizeLimitExceeded");
    EXPECT_EQ(id_of([&] { return api::ndCreateString(fits.c_str()); }), "") << "40 KB in the array";
    const std::string mixed = std::string(2000, 'x') + fits;
    EXPECT_EQ(id_of([&] { return api::ndCreateString(mixed.c_str()); }), "")
        << "44 KB, though ASCII at first";
    const system_encoding system("Shift_JIS");
    const std::string japanese = std::string(1200, 'x') + repeated("\x93\xFA", 100000);
    EXPECT_EQ(id_of([&] { return api::ndCreateString(japanese.c_str()); }), "")
        << "no UTF-8, whose length would be another";
}

TEST_F(TextCreation, CharArraysOfAnyDimensions) {
    const struct {
        dims_list given, expected;
    } rows[] = {{{}, {0, 0}}, {{3}, {3, 1}}, {{2, 3}, {2, 3}}, {{2, 3, 1}, {2, 3}}, {{2, 1, 3}, {2, 1, 3}}};
    for (const auto& row : rows) {
        const array_ptr made(api::ndCreateCharArray(row.given.size(), row.given.data()));
        EXPECT_TRUE(api::ndIsChar(made.get()));
        EXPECT_EQ(dims_in(made.get()), row.expected);
        EXPECT_EQ(matrix::get_ustring(made.get()),
                  std::u16string(api::ndGetNumberOfElements(made.get()), u'\0'));
    }
}

// From each way that a row is made.
TEST_F(TextCreation, WithoutMemory) {
    const std::string texts[] = {
        "some text", "caf\xC3\xA9",         repeated("abc", 3000), repeated("\xC3\xA9", 3000),
        "\xFF",      repeated("\xFF", 3000)};
    fault_options options;
    options.framed = true;
    for (const std::string& text : texts) {
        own(api::ndCreateString(text.c_str())); // the converter is open from here on
        const fault_report report = for_each_failing_alloc(
            "text of " + std::to_string(text.size()) + " bytes",
            [&](fault_run& run) { run.act([&] { return api::ndCreateString(text.c_str()); }); }, options);
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, 2);
        EXPECT_EQ(report.recovered, 0);
    }
    const diagnostics_switched_off off;
    const fault_report broken = for_each_failing_alloc(
        "broken text",
        [&](fault_run& run) { run.act([&] { return api::ndCreateString_UTF8(utf8("\xFF")); }); }, options);
    EXPECT_TRUE(broken.passed);
    const dims_list dims{2, 2, 2};
    const fault_report chars = for_each_failing_alloc(
        "char array",
        [&](fault_run& run) { run.act([&] { return api::ndCreateCharArray(dims.size(), dims.data()); }); },
        options);
    EXPECT_TRUE(chars.passed && chars.points >= 3);
}

TEST_F(TextCreation, StandsOnTheArrayList) {
    const lists_on lists;
    for (const byte_creator& creator : byte_creators) {
        const array_ptr made(creator.make("text"));
        EXPECT_EQ(api::ndGetArrayScope(made.get()), ndTEMPORARY_SCOPE) << creator.name;
    }
    EXPECT_EQ(own(api::ndCreateString_UTF16(u"x"))->scope, ndTEMPORARY_SCOPE);
    EXPECT_EQ(own(api::ndCreateStringFromNChars_UTF16(u"x", 1))->scope, ndTEMPORARY_SCOPE);
}

using ColonIndex = NdTest;

TEST_F(ColonIndex, IsWhatIsMade) {
    const array_ptr made(api::ndCreateColonIndex());
    EXPECT_THAT(made, EqualsArray(arr("char", u":")));
    EXPECT_EQ(api::ndGetArrayScope(made.get()), ndLOCAL_SCOPE) << "no list is kept here";
    EXPECT_TRUE(api::ndIsColonIndex(made.get()));
    for_each_variation(made, [](array_ptr& array) { EXPECT_TRUE(api::ndIsColonIndex(array.get())); });
}

TEST_F(ColonIndex, IsOneCharAndAColon) {
    struct {
        const char* what;
        array_ptr array;
    } const rows[] = {
        {"two colons", arr("char", u"::")},
        {"another character", arr("char", u";")},
        {"a character that ends like it", arr("char", u"\x3A3A")},
        {"no text", arr("char 0x0")},
        {"an empty row", arr("char 1x0")},
        {"a double", arr("double", {58})},
        {"a uint16", arr("uint16", {58})},
        {"a cell with a colon", arr("cell 1x1", arr("char", u":"))},
    };
    for (const auto& row : rows) EXPECT_FALSE(api::ndIsColonIndex(row.array.get())) << row.what;
    const auto without_data = arr("char 0x0");
    without_data->set_dimensions(dims_list{1, 1});
    EXPECT_FALSE(api::ndIsColonIndex(without_data.get()));
    without_data->set_dimensions({});
}

TEST_F(ColonIndex, WithoutMemory) {
    fault_options options;
    options.framed = true;
    for (auto* make : {+[] { return api::ndCreateColonIndex(); },
                       +[] { return api::ndCreateString_UTF16(u"some text"); }}) {
        const fault_report report = for_each_failing_alloc(
            "char row", [&](fault_run& run) { run.act([&] { return make(); }); }, options);
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, 2);
    }
}

} // namespace
} // namespace test
