// Text into buffers of fixed size.
#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/variations.hpp"

#include <algorithm>
#include <cstring>

namespace test {
namespace {

using matrix::array_ptr;
namespace deprecated = api::deprecated;

using TextBuffers = TextTest;

constexpr std::size_t buffer_size = 64;

struct outcome {
    int status;
    std::string bytes; ///< the buffer up to the first byte that nothing was written to
    bool operator==(const outcome&) const = default;
};
std::ostream& operator<<(std::ostream& out, const outcome& seen) {
    return out << seen.status << ' ' << testing::PrintToString(seen.bytes);
}

outcome fill(int (*get)(const ndArray_tag*, char*, std::size_t), const ndArray_tag* array, std::size_t size) {
    std::string buffer(buffer_size, '#');
    const int status = get(array, buffer.data(), size);
    const std::size_t end = buffer.find('#');
    EXPECT_EQ(buffer.find_first_not_of('#', end), std::string::npos) << "behind the text";
    return {status, buffer.substr(0, end)};
}

outcome string_of(const array_ptr& array, std::size_t size) {
    return fill(deprecated::ndGetString, array.get(), size);
}
outcome chars_of(const array_ptr& array, std::size_t size) {
    return fill(deprecated::ndGetNChars, array.get(), size);
}

std::string with_nul(std::string text) { return text + '\0'; }

TEST_F(TextBuffers, AreFilledAsFarAsTheyGo) {
    const struct {
        std::u16string text;
        std::string bytes;
    } rows[] = {
        {u"text", "text"},
        {u"caf\u00E9", "caf\xC3\xA9"},
        {u"\U0001F600!", "\xF0\x9F\x98\x80!"},
        {{u'a', 0, u'b'}, std::string("a\0b", 3)},
        {{u'a', 0xD800}, "a\xEF\xBF\xBD"},
        {u"\u4E2D\u6587", "\xE4\xB8\xAD\xE6\x96\x87"},
    };
    for (const auto& row : rows) {
        for_each_variation(arr("char 1x" + std::to_string(row.text.size()), row.text), [&](array_ptr& array) {
            for (std::size_t size = 1; size <= row.bytes.size() + 3; ++size) {
                const std::size_t room = size - 1;
                const outcome expected{room < row.bytes.size() ? 1 : 0, with_nul(row.bytes.substr(0, room))};
                EXPECT_EQ(string_of(array, size), expected) << size;
                const outcome chars{size < row.bytes.size() ? 1 : 0, row.bytes.substr(0, size)};
                EXPECT_EQ(chars_of(array, size), chars) << size;
            }
        });
    }
}

TEST_F(TextBuffers, OfOneByteHoldTheTerminatorAlone) {
    EXPECT_EQ(string_of(arr("char", u"text"), 1), (outcome{1, with_nul("")}));
    EXPECT_EQ(string_of(arr("char 0x0"), 1), (outcome{0, with_nul("")}));
    EXPECT_EQ(string_of(arr("char 1x0"), 1), (outcome{0, with_nul("")}));
    EXPECT_EQ(chars_of(arr("char", u"text"), 1), (outcome{1, "t"}));
    EXPECT_EQ(chars_of(arr("char 0x0"), 1), (outcome{0, ""}));
}

TEST_F(TextBuffers, ThatAreNotThereAreAllRight) {
    for (const array_ptr& array : {arr("char", u"text"), arr("double", {1}), array_ptr()}) {
        EXPECT_EQ(deprecated::ndGetString(array.get(), nullptr, 5), 0);
        EXPECT_EQ(deprecated::ndGetNChars(array.get(), nullptr, 5), 0);
        EXPECT_EQ(string_of(array, 0), (outcome{0, ""}));
        EXPECT_EQ(chars_of(array, 0), (outcome{0, ""}));
    }
}

TEST_F(TextBuffers, GetNothingFromWhatIsNotChar) {
    for (const array_ptr& array :
         {array_ptr(), arr("double", {65}), arr("uint16", {65}), arr("cell 1x1", arr("char", u"text"))}) {
        EXPECT_EQ(string_of(array, 5), (outcome{1, ""}));
        EXPECT_EQ(chars_of(array, 5), (outcome{1, ""}));
    }
}

TEST_F(TextBuffers, GetAllOfAMatrixByColumn) {
    EXPECT_EQ(string_of(arr("char 2x2", u"acbd"), 10), (outcome{0, with_nul("acbd")}));
    EXPECT_EQ(chars_of(arr("char 2x1x2", u"acbd"), 10), (outcome{0, "acbd"}));
    const array_ptr without_data = arr("char 0x0");
    without_data->set_dimensions(dims_list{1, 2});
    EXPECT_EQ(string_of(without_data, 10), (outcome{0, with_nul("")}));
    without_data->set_dimensions(dims_list{0, 0});
}

TEST_F(TextBuffers, MayClaimAnySize) {
    char buffer[8];
    EXPECT_EQ(deprecated::ndGetString(arr("char", u"ab\u00E9").get(), buffer, SIZE_MAX), 0);
    EXPECT_STREQ(buffer, "ab\xC3\xA9");
    EXPECT_EQ(deprecated::ndGetNChars(arr("char", u"xy").get(), buffer, SIZE_MAX), 0);
    EXPECT_STREQ(buffer, "xy\xC3\xA9");
}

TEST_F(TextBuffers, GetTextInTheSystemsEncoding) {
    const array_ptr text = arr("char", u"a\u3042\u4E2D");
    const struct {
        const char* encoding;
        std::string bytes;
    } rows[] = {
        {"Shift_JIS", "a\x82\xA0\x92\x86"},
        {"gb18030", "a\xA4\xA2\xD6\xD0"},
        {"ISO-8859-1", "a\x1A\x1A"},
        {"ISO-2022-JP", "a\x1B$B$\"Cf\x1B(B"},
    };
    for (const auto& row : rows) {
        const system_encoding system(row.encoding);
        EXPECT_EQ(string_of(text, buffer_size), (outcome{0, with_nul(row.bytes)})) << row.encoding;
        EXPECT_EQ(chars_of(text, row.bytes.size()), (outcome{0, row.bytes})) << row.encoding;
        for (std::size_t size = 1; size < row.bytes.size(); ++size) {
            EXPECT_EQ(chars_of(text, size), (outcome{1, row.bytes.substr(0, size)})) << row.encoding;
            EXPECT_EQ(string_of(text, size), (outcome{1, with_nul(row.bytes.substr(0, size - 1))}))
                << row.encoding;
        }
        EXPECT_EQ(chars_of(text, row.bytes.size()), (outcome{0, row.bytes}))
            << "cut text leaves nothing behind";
    }
}

// A character that an encoding passes over needs no room.
TEST_F(TextBuffers, AreLargeEnoughForWhatHasNoBytes) {
    const system_encoding system("ISO-8859-1");
    EXPECT_EQ(string_of(arr("char", u"ab\u202C"), 3), (outcome{0, with_nul("ab")}));
    EXPECT_EQ(chars_of(arr("char", u"ab\u202C"), 2), (outcome{0, "ab"}));
    EXPECT_EQ(string_of(arr("char", u"ab\u202Cc"), 3), (outcome{1, with_nul("ab")}));
}

TEST_F(TextBuffers, GetNoTextWhereThereIsNoEncoding) {
    const system_encoding system("no-such-encoding");
    EXPECT_EQ(string_of(arr("char", u"text"), 10), (outcome{1, with_nul("")}));
    EXPECT_EQ(string_of(arr("char", u"text"), 1), (outcome{1, with_nul("")}));
    EXPECT_EQ(string_of(arr("double", {65}), 10), (outcome{1, ""}));
    EXPECT_EQ(chars_of(arr("char", u"text"), 10), (outcome{1, ""}));
}

} // namespace
} // namespace test
