// Char matrices with a string in each row.
#include "matrix/long_text.hpp"
#include "matrix/process_state.hpp"
#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/except/exception.hpp>

#include <algorithm>
#include <cstring>

namespace test {
namespace {

using matrix::array_ptr;
using byte_list = std::vector<const char*>;
using unit_list = std::vector<const char16_t*>;

using CharMatrix = TextTest;

// From UTF-8 by either name.
std::vector<array_ptr> both_from_bytes(byte_list strings) {
    std::vector<const unsigned char*> as_utf8;
    for (const char* const text : strings) as_utf8.push_back(utf8(text));
    std::vector<array_ptr> made;
    made.push_back(own(api::ndCreateCharMatrixFromStrings(strings.size(), strings.data())));
    made.push_back(own(api::ndCreateCharMatrixFromStrings_UTF8(as_utf8.size(), as_utf8.data())));
    return made;
}

array_ptr from_units(unit_list strings) {
    return own(api::ndCreateCharMatrixFromStrings_UTF16(strings.size(), strings.data()));
}

TEST_F(CharMatrix, HasAStringInEachRow) {
    const struct {
        byte_list bytes;
        unit_list units;
        const char* shape;
        std::u16string by_column;
    } rows[] = {
        {{"ab", "c"}, {u"ab", u"c"}, "char 2x2", {u'a', u'c', u'b', 0}},
        {{"abc"}, {u"abc"}, "char 1x3", u"abc"},
        {{"", "xy", ""}, {u"", u"xy", u""}, "char 3x2", {0, u'x', 0, 0, u'y', 0}},
        {{"a", nullptr}, {u"a", nullptr}, "char 2x1", {u'a', 0}},
        {{"", ""}, {u"", u""}, "char 2x0", {}},
        {{nullptr}, {nullptr}, "char 1x0", {}},
        {{}, {}, "char 0x0", {}},
        {{"\xC3\xA9", "\xE4\xB8\xAD"
                      "b"},
         {u"\u00E9", u"\u4E2Db"},
         "char 2x2",
         {0xE9, 0x4E2D, 0, u'b'}},
        {{"\xF0\x9F\x98\x80", "a"}, {u"\U0001F600", u"a"}, "char 2x2", {0xD83D, u'a', 0xDE00, 0}},
        {{"\xF0\x90\x80\x80"
          "x",
          "\xF4\x8F\xBF\xBF"},
         {u"\U00010000x", u"\U0010FFFF"},
         "char 2x3",
         {0xD800, 0xDBFF, 0xDC00, 0xDFFF, u'x', 0}},
        {{"a  ", "b"}, {u"a  ", u"b"}, "char 2x3", {u'a', u'b', u' ', 0, u' ', 0}},
    };
    for (const auto& row : rows) {
        const auto expected = [&] { return arr(row.shape, row.by_column); };
        for (const array_ptr& made : both_from_bytes(row.bytes)) EXPECT_THAT(made, EqualsArray(expected()));
        EXPECT_THAT(from_units(row.units), EqualsArray(expected()));
    }
}

TEST_F(CharMatrix, WithoutAListHasEmptyStrings) {
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings(3, nullptr)).get()), (dims_list{3, 0}));
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings_UTF8(3, nullptr)).get()), (dims_list{3, 0}));
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings_UTF16(3, nullptr)).get()), (dims_list{3, 0}));
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings(0, nullptr)).get()), (dims_list{0, 0}));
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings_UTF16(0, nullptr)).get()), (dims_list{0, 0}));
    constexpr std::size_t many = std::size_t{1} << 46; // too many to be looked at one by one
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings(many, nullptr)).get()), (dims_list{many, 0}));
    EXPECT_EQ(dims_in(own(api::ndCreateCharMatrixFromStrings_UTF16(many, nullptr)).get()),
              (dims_list{many, 0}));
}

// UTF-8 in any system; nothing ends the process.
TEST_F(CharMatrix, SubstitutesWhatIsNotUtf8) {
    const system_encoding system("Shift_JIS");
    for (const array_ptr& made : both_from_bytes({"a\xFF", "\xE4\xB8", "\xED\xA0\x80"}))
        EXPECT_THAT(made,
                    EqualsArray(arr("char 3x3", {u'a', 0xFFFD, 0xFFFD, 0xFFFD, 0, 0xFFFD, 0, 0, 0xFFFD})));
}

TEST_F(CharMatrix, KeepsUnpairedSurrogates) {
    const char16_t text[] = {0xDC00, 0xD800, 0};
    EXPECT_THAT(from_units({text}), EqualsArray(arr("char 1x2", {0xDC00, 0xD800})));
}

TEST_F(CharMatrix, OfEveryCodePoint) {
    for (std::uint32_t first = 1; first < 0x110000; first += 4096) {
        std::vector<std::string> texts;
        std::vector<std::u16string> expected;
        for (std::uint32_t one = first; one < first + 4096 && one < 0x110000; one += 37) {
            if (one >= 0xD800 && one < 0xE000) continue;
            std::u16string units{static_cast<char16_t>(one)};
            if (one > 0xFFFF)
                units = {static_cast<char16_t>(0xD7C0 + (one >> 10U)),
                         static_cast<char16_t>(0xDC00 + (one & 0x3FFU))};
            const array_ptr row(api::ndCreateString_UTF16(units.c_str()));
            texts.emplace_back(own(api::ndArrayToString(row.get())).get());
            expected.push_back(units);
        }
        if (texts.empty()) continue;
        byte_list strings;
        for (const std::string& text : texts) strings.push_back(text.c_str());
        const array_ptr made(api::ndCreateCharMatrixFromStrings(strings.size(), strings.data()));
        std::vector<std::u16string> rows = matrix::get_ustring_array(made.get());
        for (std::u16string& row : rows)
            while (!row.empty() && row.back() == 0) row.pop_back();
        ASSERT_EQ(rows, expected) << first;
    }
}

// The id of what the making of a matrix raises; empty where it answers null.
std::string refusal_of(byte_list strings) {
    try {
        EXPECT_EQ(own(api::ndCreateCharMatrixFromStrings(strings.size(), strings.data())), nullptr);
    } catch (const foundation::core::except::IUserException& error) {
        return std::string(error.GetID());
    }
    return {};
}

TEST_F(CharMatrix, IsHeldToTheSizeLimit) {
    const std::string lengthy(100000, 'x');
    for_each_module_mode([&](int mode) {
        const size_limit_scope limit(std::uint64_t{1} << 20, 10);
        EXPECT_EQ(refusal_of(byte_list(20, lengthy.c_str())),
                  mode == mode_exceptions ? "TARVEL:array:SizeLimitExceeded" : "");
    });
}

TEST_F(CharMatrix, RefusesStringsThatAreTooLong) {
    const long_text text;
    for_each_module_mode([&](int mode) {
        EXPECT_EQ(refusal_of({"short", text.get()}), mode == mode_exceptions ? "TARVEL:pmaxsize" : "");
    });
}

TEST_F(CharMatrix, WithoutMemory) {
    const char* strings[] = {"some", "text"};
    const char16_t* units[] = {u"some", u"text"};
    own(api::ndCreateCharMatrixFromStrings(2, strings)); // the converter is open from here on
    fault_options options;
    options.framed = true;
    const fault_report bytes = for_each_failing_alloc(
        "char matrix of bytes",
        [&](fault_run& run) { run.act([&] { return api::ndCreateCharMatrixFromStrings(2, strings); }); },
        options);
    EXPECT_TRUE(bytes.passed && bytes.points >= 2);
    const fault_report wide = for_each_failing_alloc(
        "char matrix of units",
        [&](fault_run& run) { run.act([&] { return api::ndCreateCharMatrixFromStrings_UTF16(2, units); }); },
        options);
    EXPECT_TRUE(wide.passed && wide.points >= 2);
}

TEST_F(CharMatrix, StandsOnTheArrayList) {
    const lists_on lists;
    EXPECT_EQ(from_units({u"a"})->scope, ndTEMPORARY_SCOPE);
    for (const array_ptr& made : both_from_bytes({"a"})) EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE);
}

} // namespace
} // namespace test
