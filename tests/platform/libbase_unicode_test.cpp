// UTF-8 to UTF-16: whole text is converted, damaged text gets substitutes, and nothing is ever refused for its content.
#include <libbase/unicode.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

TEST(LibbaseUnicode, ConvertsAndSubstitutes) {
    const struct {
        std::string_view utf8;
        std::u16string_view utf16;
    } table[] = {
        {""sv, u""sv},
        {"plain"sv, u"plain"sv},
        {"a\0b"sv, u"a\0b"sv},
        {"\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf"sv, u"\u007f\u0080\u07ff\u0800\uffff"sv},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"sv, u"\U00010000\U0010ffff"sv},
        {"\x80"sv, u"\ufffd"sv},           // continuation with no start
        {"\xc3"sv, u"\ufffd"sv},           // start with no continuation, at the end
        {"\xe2\x82"sv, u"\ufffd"sv},       // cut after two of three bytes
        {"\xf0\x9f\x98"sv, u"\ufffd"sv},   // cut after three of four
        {"\xf0\x9f\x98z"sv, u"\ufffdz"sv}, // and followed by text
        {"a\xfe\xff z"sv, u"a\ufffd\ufffd z"sv},
    };
    for (const auto& row : table) EXPECT_EQ(baseUtf8ToUtf16(row.utf8), row.utf16);
}

TEST(LibbaseUnicode, SurrogatesAndOverlongFormsArentUtf8) {
    for (const auto utf8 :
         {"\xed\xa0\x80"sv, "\xc0\x80"sv, "\xe0\x80\x80"sv, "\xf4\x90\x80\x80"sv, "\xf8\x88\x80\x80\x80"sv}) {
        const std::u16string text = baseUtf8ToUtf16(utf8);
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find_first_not_of(u'\ufffd'), std::u16string::npos);
    }
}

// Every text of two bytes converts, and ASCII in it stays what it is.
TEST(LibbaseUnicode, TakesAnyBytes) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
            const std::u16string text = baseUtf8ToUtf16({bytes, 2});
            ASSERT_TRUE(text.size() == 1 || text.size() == 2) << first << ' ' << second;
            if (first < 0x80) {
                ASSERT_EQ(text.front(), static_cast<char16_t>(first));
            }
            if (second < 0x80) {
                ASSERT_EQ(text.back(), static_cast<char16_t>(second));
            }
        }
}

TEST(LibbaseUnicode, RefusesTextOfTwoGiB) {
    const std::string_view too_long("", std::size_t{1} << 31); // refused before a byte is read
    EXPECT_THROW(baseUtf8ToUtf16(too_long), std::length_error);
}

} // namespace
