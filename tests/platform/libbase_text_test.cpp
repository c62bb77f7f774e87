// Formatting into a fixed buffer, cut at every length, and printing through the output seam.
#include <libbase/text.hpp>

#include "platform/test_hooks.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

namespace hooks = foundation::test_hooks;

namespace {

[[gnu::format(printf, 3, 4)]] int format_into(char* buffer, std::size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = baseVSNprintf(buffer, size, format, args);
    va_end(args);
    return length;
}

TEST(LibbaseText, IsCutToEverySizeAndTerminated) {
    const std::string whole = "[ 42] gr\xc3\xbc\xc3\x9f";
    for (std::size_t size = 1; size <= whole.size() + 3; ++size) {
        char buffer[32];
        std::memset(buffer, '#', sizeof buffer);
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_EQ(format_into(buffer, size, "[%3d] %s", 42, "gr\xc3\xbc\xc3\x9f"),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(buffer, expected) << size;
        EXPECT_EQ(buffer[size], '#') << "nothing behind the buffer is touched";
    }
}

// Units of every width that text has: nothing beyond ASCII is a letter, whatever its low byte.
TEST(LibbaseText, LettersAndDigitsAreThoseOfAscii) {
    const std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::string_view digits = "0123456789";
    for (std::uint32_t unit = 0; unit <= 0x10FFFF; ++unit) {
        const char c = static_cast<char>(unit);
        const bool letter = unit < 128 && letters.find(c) != std::string_view::npos;
        const bool digit = unit < 128 && digits.find(c) != std::string_view::npos;
        ASSERT_EQ(isalpha_ascii(unit), letter) << unit;
        ASSERT_EQ(isalnum_ascii(unit), letter || digit) << unit;
    }
    EXPECT_FALSE(isalpha_ascii(0xFFFFFFE1U)) << "a char that was widened with its sign";
}

TEST(LibbaseText, ASizeOfZeroTouchesNothing) {
    char untouched = '#';
    EXPECT_EQ(format_into(&untouched, 0, "%s", "text"), 0);
    EXPECT_EQ(untouched, '#');
}

TEST(LibbaseText, TextThatCantBeFormattedIsEmpty) {
    char buffer[8] = "before";
    const wchar_t no_character[] = {static_cast<wchar_t>(0x7fffffff), 0};
    EXPECT_EQ(format_into(buffer, sizeof buffer, "ab%ls", no_character), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(LibbaseText, PrintingReachesTheSeam) {
    hooks::start_output_capture();
    EXPECT_EQ(basePrintf("%s-%d\n", "one", 1), 6);
    EXPECT_EQ(basePrintf("%s", ""), 0);
    EXPECT_EQ(basePrintf("%s", std::string(20000, 'x').c_str()), 20000);
    EXPECT_EQ(hooks::end_output_capture(), "one-1\n" + std::string(20000, 'x'));
}

TEST(LibbaseText, ACaptureStartsEmpty) {
    hooks::start_output_capture();
    basePrintf("first");
    hooks::end_output_capture();
    hooks::start_output_capture();
    EXPECT_EQ(hooks::end_output_capture(), "");
}

TEST(LibbaseText, WithoutACaptureTextGoesToStandardOutput) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(basePrintf("%5.2f|%s\n", 3.14159, "plain"), 12);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " 3.14|plain\n");
}

TEST(LibbaseText, OutputShowsLinksOnlyWhenSaid) {
    EXPECT_FALSE(basePrintfIsHot());
    hooks::set_output_shows_links(true);
    EXPECT_TRUE(basePrintfIsHot());
    hooks::set_output_shows_links(false);
    EXPECT_FALSE(basePrintfIsHot());
}

} // namespace
