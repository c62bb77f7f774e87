// How results are shown and saved: tables for the eye, CSV for the next program.
#include <array_view.hpp>
#include <csv_reader.hpp>
#include <csv_writer.hpp>
#include <table_printer.hpp>
#include <utf8.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using nd_host::array_view;
using nd_host::csv_text;
using nd_host::table_text;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

template <class T>
matrix::array_ptr made(const std::vector<std::size_t>& dims, ndClassID class_id, ndComplexity complexity,
                       const std::vector<T>& elements) {
    matrix::array_ptr array = matrix::create(dims, class_id, complexity);
    if (!elements.empty()) {
        std::memcpy(array->pdata, elements.data(), elements.size() * sizeof(T));
    }
    return array;
}

matrix::array_ptr doubles(std::size_t rows, std::size_t columns, const std::vector<double>& elements) {
    return made(std::vector<std::size_t>{rows, columns}, ndDOUBLE_CLASS, ndREAL, elements);
}

std::string csv(const matrix::array_ptr& array, const std::vector<std::string>& names = {}) {
    return csv_text(array_view(*array), names);
}

std::string table(const matrix::array_ptr& array, const std::vector<std::string>& names = {},
                  bool whole = false) {
    return table_text("out", array_view(*array), names, whole);
}

TEST(CsvWriter, WritesSeventeenDigitsRowByRow) {
    EXPECT_EQ(csv(doubles(2, 2, {315.42, -0.0, nan, inf})), "315.42000000000002,NaN\n-0,Inf\n");
    EXPECT_EQ(csv(doubles(1, 3, {1e22, 5e-324, 0.1})), "1e+22,4.9406564584124654e-324,0.10000000000000001\n");
}

TEST(CsvWriter, WritesEveryNumericClassExactly) {
    const std::vector<std::size_t> pair{1, 2};
    EXPECT_EQ(csv(made<std::int64_t>(pair, ndINT64_CLASS, ndREAL, {INT64_MIN, 9007199254740993})),
              "-9223372036854775808,9007199254740993\n");
    EXPECT_EQ(csv(made<std::uint64_t>(pair, ndUINT64_CLASS, ndREAL, {UINT64_MAX, 0})),
              "18446744073709551615,0\n");
    EXPECT_EQ(csv(made<std::int8_t>(pair, ndINT8_CLASS, ndREAL, {-128, 127})), "-128,127\n");
    EXPECT_EQ(csv(made<std::uint8_t>(pair, ndUINT8_CLASS, ndREAL, {255, 0})), "255,0\n");
    EXPECT_EQ(csv(made<std::int16_t>(pair, ndINT16_CLASS, ndREAL, {-32768, 1})), "-32768,1\n");
    EXPECT_EQ(csv(made<std::uint16_t>(pair, ndUINT16_CLASS, ndREAL, {65535, 1})), "65535,1\n");
    EXPECT_EQ(csv(made<std::int32_t>(pair, ndINT32_CLASS, ndREAL, {INT32_MIN, 1})), "-2147483648,1\n");
    EXPECT_EQ(csv(made<std::uint32_t>(pair, ndUINT32_CLASS, ndREAL, {UINT32_MAX, 1})), "4294967295,1\n");
    EXPECT_EQ(csv(made<std::uint8_t>(pair, ndLOGICAL_CLASS, ndREAL, {1, 0})), "1,0\n");
    EXPECT_EQ(csv(made<float>(pair, ndSINGLE_CLASS, ndREAL, {0.1F, 16777216.0F})), "0.100000001,16777216\n");
}

TEST(CsvWriter, GivesAComplexColumnTwoColumns) {
    const auto array = made<double>({1, 2}, ndDOUBLE_CLASS, ndCOMPLEX, {1, 2, 3, -4});
    EXPECT_EQ(csv(array), "1,2,3,-4\n");
    EXPECT_EQ(csv(array, {"a", "b"}), "a.re,a.im,b.re,b.im\n1,2,3,-4\n");
}

TEST(CsvWriter, ContinuesColumnsOverPages) {
    const auto array = made<double>({2, 1, 2}, ndDOUBLE_CLASS, ndREAL, {1, 2, 3, 4});
    EXPECT_EQ(csv(array), "1,3\n2,4\n");
}

TEST(CsvWriter, WritesNoLinesForAnArrayWithoutElements) {
    EXPECT_EQ(csv(doubles(0, 3, {})), "");
    EXPECT_EQ(csv(doubles(3, 0, {})), "");
    EXPECT_EQ(csv(doubles(0, 1, {}), {"a"}), "a\n");
}

TEST(CsvWriter, QuotesNamesSoThatTheReaderTakesThemAsNames) {
    const std::vector<std::string> names{"a", "", "1959", "NA", "b,c", "d\"e", "f\ng", " h", "nan"};
    const std::string text = csv(doubles(0, names.size(), {}), names);
    EXPECT_EQ(nd_host::parse_csv(text, "t.csv").names, names);
}

TEST(CsvWriter, ReadsBackBitForBit) {
    const std::vector<double> values{0.1, -0.0, 1.0 / 3, 5e-324, 1.7976931348623157e308, inf, -inf, 2e-310};
    const auto table_read = nd_host::parse_csv(csv(doubles(1, values.size(), values)), "t.csv");
    ASSERT_EQ(table_read.values.size(), values.size());
    EXPECT_EQ(std::memcmp(table_read.values.data(), values.data(), values.size() * sizeof(double)), 0);
}

TEST(TablePrinter, AlignsColumnsOnTheirDecimalPoints) {
    EXPECT_EQ(table(doubles(2, 3, {1959, 1960, 315.42, -1.5, nan, 0.125}), {"year", "ppm", "x"}), //
              "out: 2x3 double\n"
              "     year     ppm      x\n"
              "  1  1959  315.42    NaN\n"
              "  2  1960   -1.50  0.125\n");
}

TEST(TablePrinter, UsesScientificFormWhereFixedWouldLoseDigits) {
    EXPECT_EQ(table(doubles(2, 1, {1.5e-9, 2})), //
              "out: 2x1 double\n"
              "               1\n"
              "  1  1.50000e-09\n"
              "  2  2.00000e+00\n");
}

TEST(TablePrinter, KeepsSixDigitsOfTheLargestNumber) {
    EXPECT_EQ(table(doubles(2, 3, {3.26564812, -0.0234871, 1234567.5, 250, 1e-5, 2e-5})), //
              "out: 2x3 double\n"
              "            1        2            3\n"
              "  1   3.26565  1234568  1.00000e-05\n"
              "  2  -0.02349      250  2.00000e-05\n");
}

TEST(TablePrinter, ShowsWholeNumbersWhole) {
    EXPECT_EQ(table(doubles(1, 2, {123456789012, -inf})), //
              "out: 1x2 double\n"
              "                1     2\n"
              "  1  123456789012  -Inf\n");
}

TEST(TablePrinter, ShowsComplexNumbersInOneColumn) {
    EXPECT_EQ(table(made<double>({2, 1}, ndDOUBLE_CLASS, ndCOMPLEX, {1, 2.5, -3, -4})), //
              "out: 2x1 complex double\n"
              "             1\n"
              "  1   1.0+2.5i\n"
              "  2  -3.0-4.0i\n");
}

TEST(TablePrinter, CutsLongResultsInTheMiddle) {
    const std::string text = table(doubles(100, 20, std::vector<double>(2000, 7)));
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    ASSERT_EQ(lines.size(), 2U + 20U + 1U + 5U);
    EXPECT_EQ(lines[1].substr(lines[1].size() - 14), "9  ...  19  20");
    EXPECT_EQ(lines[21].substr(0, 6), "   20 ");
    EXPECT_EQ(lines[22], "  ...");
    EXPECT_EQ(lines[27].substr(0, 6), "  100 ");
    EXPECT_EQ(table(doubles(100, 20, std::vector<double>(2000, 7)), {}, true).find("..."), std::string::npos);
}

TEST(TablePrinter, ShowsDimensionsBeyondTheSecondPageByPage) {
    EXPECT_EQ(table(made<double>({1, 2, 1, 2}, ndDOUBLE_CLASS, ndREAL, {1, 2, 3, 4})), //
              "out: 1x2x1x2 double\n"
              "(:,:,1,1)\n"
              "     1  2\n"
              "  1  1  2\n"
              "(:,:,1,2)\n"
              "     1  2\n"
              "  1  3  4\n");
}

TEST(TablePrinter, CountsCharactersOfNamesNotBytes) {
    EXPECT_EQ(table(doubles(1, 1, {12345}), {"\xC3\xB8re"}), //
              "out: 1x1 double\n"
              "       \xC3\xB8re\n"
              "  1  12345\n");
}

TEST(TablePrinter, TellsAnArrayWithoutElementsByItsTitle) {
    EXPECT_EQ(table(doubles(0, 5, {})), "out: 0x5 double\n");
    EXPECT_EQ(table(doubles(5, 0, {})), "out: 5x0 double\n");
}

TEST(Utf8, WritesEveryLengthAndMarksLoneSurrogates) {
    EXPECT_EQ(nd_host::utf8(u"a\u00e4\u20ac\U0001f30b"), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8C\x8B");
    const std::u16string lone{0xD83C, u'x', 0xDF0B, 0xD83C};
    EXPECT_EQ(nd_host::utf8(lone), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(ArrayView, HasNoNumbersWithoutABlock) {
    const auto cell = matrix::create_cell(std::vector<std::size_t>{1, 1});
    EXPECT_FALSE(array_view(*cell).has_numbers());
    EXPECT_TRUE(array_view(*doubles(1, 1, {3})).has_numbers());
    EXPECT_TRUE(array_view(*doubles(0, 3, {})).has_numbers());
}

} // namespace
