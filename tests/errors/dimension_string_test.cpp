// Sizes in messages.
#include "errors/dimension_string.hpp"

#include "platform/test_hooks.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <vector>

namespace {

TEST(DimensionString, JoinsTheDimensions) {
    struct {
        std::vector<std::size_t> dims;
        std::u16string text;
    } const rows[] = {
        {{3, 4}, u"3x4"},
        {{0, 0}, u"0x0"},
        {{2, 3, 4, 5}, u"2x3x4x5"},
        {{7}, u"7"},
        {{}, u""},
        {{std::numeric_limits<std::size_t>::max(), 1}, u"18446744073709551615x1"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Korvane::engine::CreateDimensionString(row.dims.size(), row.dims.data()), row.text);
}

[[noreturn]] void end_after_german_text() {
    foundation::test_hooks::set_install_path(ND_TEST_DATA);
    foundation::test_hooks::set_global_locale("de_DE");
    constexpr std::size_t dims[] = {3, 4};
    std::_Exit(Korvane::engine::CreateDimensionString(std::size(dims), dims) == u"3 \u00D7 4" ? 0 : 1);
}

// In a process of its own: the catalogs are told once where translations lie.
TEST(DimensionStringDeathTest, TakesTheSeparatorOfTheLocale) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(end_after_german_text(), testing::ExitedWithCode(0), "");
}

} // namespace
