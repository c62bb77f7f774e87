// The CSV reader: what it takes, what it refuses and where it says the trouble is.
#include <csv_reader.hpp>
#include <failure.hpp>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using nd_host::csv_table;
using nd_host::parse_csv;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// Equal bit for bit, but any NaN equals any other.
bool same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

struct good_text {
    const char* text;
    std::size_t rows;
    std::size_t columns;
    std::vector<double> values;
    std::vector<std::string> names;
};

const std::vector<good_text> good_texts = {
    {"1,2\n3,4\n", 2, 2, {1, 2, 3, 4}, {}},
    {"1,2\r\n3,4\r\n", 2, 2, {1, 2, 3, 4}, {}},
    {"1,2\r3,4", 2, 2, {1, 2, 3, 4}, {}},
    {"1,2\n3,4", 2, 2, {1, 2, 3, 4}, {}},
    {"\n\n1\n\n2\n \n\n", 2, 1, {1, 2}, {}},
    {"\xEF\xBB\xBFyear,ppm\n1959,315.42\n", 1, 2, {1959, 315.42}, {"year", "ppm"}},
    {"x\n", 0, 1, {}, {"x"}},
    {"\"a,b\",\"c\"\"d\"\"\",\"e\r\nf\"\n1,2,3\n", 1, 3, {1, 2, 3}, {"a,b", "c\"d\"", "e\nf"}},
    {"\"1959\",\"1960\"\n1,2\n", 1, 2, {1, 2}, {"1959", "1960"}},
    {"a,,c\n1,,3\n", 1, 3, {1, nan, 3}, {"a", "", "c"}},
    {"a,b,c\n 1 ,\t2\t, \"3\" \n", 1, 3, {1, 2, 3}, {"a", "b", "c"}},
    {"NA,NaN,nan,,\n", 1, 5, {nan, nan, nan, nan, nan}, {}},
    {"inf,-Inf,+Infinity,+5,-0\n", 1, 5, {inf, -inf, inf, 5, -0.0}, {}},
    {"1e3,1.,.5,5e-324,1.7976931348623157e308\n", 1, 5, {1000, 1, 0.5, 5e-324, 1.7976931348623157e308}, {}},
    {",\n1,2\n", 2, 2, {nan, nan, 1, 2}, {}},
};

TEST(CsvReader, TakesEveryFormThatIsCsv) {
    for (const good_text& good : good_texts) {
        SCOPED_TRACE(good.text);
        const csv_table table = parse_csv(good.text, "t.csv");
        EXPECT_EQ(table.rows, good.rows);
        EXPECT_EQ(table.columns, good.columns);
        EXPECT_EQ(table.names, good.names);
        ASSERT_EQ(table.values.size(), good.values.size());
        for (std::size_t i = 0; i < good.values.size(); ++i) {
            EXPECT_TRUE(same(table.values[i], good.values[i])) << "value " << i << " is " << table.values[i];
        }
    }
}

// Columns of text, each with what it holds; a column of numbers is told by no list.
struct text_table {
    std::string text;
    std::vector<std::vector<std::string>> texts;
    std::vector<double> values;
};

const std::vector<text_table> text_tables = {
    {"a,b\n1,x\n2,y\n", {{}, {"x", "y"}}, {1, nan, 2, nan}},
    {"a\nx\n5\n\n-\n", {{"x", "5", "-"}}, {nan, nan, nan}},
    {"a,b\n,1\nNA,2\nx,3\n,4\nNA,5\n\"NA\",6\n\"\",7\n",
     {{"", "", "x", "", "", "NA", ""}, {}},
     {nan, 1, nan, 2, nan, 3, nan, 4, nan, 5, nan, 6, nan, 7}},
    {"a\n01\n\"0A\"\n5\n", {{"01", "0A", "5"}}, {nan, nan, nan}},
    {"a\n\"1\"\n\"2\"\n", {{}}, {1, 2}},
    {"a\nNA\n\"NA\"\n", {{}}, {nan, nan}},
    {"a\n\"x, \"\"y\"\"\r\nz\"\n b c \n", {{"x, \"y\"\nz", "b c"}}, {nan, nan}},
    {"a\n\xC3\xB8\xE2\x82\xAC\xF0\x9F\x8C\x8B\n", {{"\xC3\xB8\xE2\x82\xAC\xF0\x9F\x8C\x8B"}}, {nan}},
    {"a,b\n", {{}, {}}, {}},
    {"1,2\n3,4\n", {{}, {}}, {1, 2, 3, 4}},
    {"1,2\n3,\"x\"\n", {{}, {"2", "x"}}, {1, nan, 3, nan}},
};

TEST(CsvReader, TakesColumnsOfTextWhereTheyAreAskedFor) {
    for (const text_table& wanted : text_tables) {
        SCOPED_TRACE(wanted.text);
        const csv_table table = parse_csv(wanted.text, "t.csv", nd_host::csv_content::numbers_and_text);
        EXPECT_EQ(table.texts, wanted.texts);
        for (std::size_t i = 0; i < table.columns; ++i) {
            EXPECT_EQ(table.is_text(i), !wanted.texts[i].empty());
        }
        ASSERT_EQ(table.values.size(), wanted.values.size());
        for (std::size_t i = 0; i < wanted.values.size(); ++i) {
            EXPECT_TRUE(same(table.values[i], wanted.values[i]))
                << "value " << i << " is " << table.values[i];
        }
    }
}

struct bad_text {
    std::string text;
    const char* message;
};

void expect_refused(const bad_text& bad, nd_host::csv_content content) {
    SCOPED_TRACE(bad.text);
    try {
        parse_csv(bad.text, "t.csv", content);
        FAIL() << "taken";
    } catch (const nd_host::failure& error) {
        EXPECT_EQ(error.status(), nd_host::exit_status::bad_input);
        EXPECT_STREQ(error.what(), bad.message);
    }
}

const std::vector<bad_text> bad_text_columns = {
    {"a,b\nx,1\ny,z\n",
     "t.csv: line 3, column 2: 'z' (b) is not a number that a double can hold, as the column's first value "
     "is; if it is text, quote it"},
    {"a\n1e400\n", "t.csv: line 2, column 1: '1e400' (a) is not a number that a double can hold"},
    {"a\nx,y\n", "t.csv: line 2, column 2: the line has 2 columns, the lines before it 1"},
    {"a,b\nx\n", "t.csv: line 2, column 1: the line has 1 columns, the lines before it 2"},
    {"a\nx\ny\xE9\n", "t.csv: line 3, column 1: byte 0xE9 (a) is not UTF-8; save the file in UTF-8"},
    {"a\nx\xC0\x80\n", "t.csv: line 2, column 1: byte 0xC0 (a) is not UTF-8; save the file in UTF-8"},
    {"a\nx\xED\xA0\x80\n", "t.csv: line 2, column 1: byte 0xED (a) is not UTF-8; save the file in UTF-8"},
    {"a\nx\xF4\x90\x80\x80\n", "t.csv: line 2, column 1: byte 0xF4 (a) is not UTF-8; save the file in UTF-8"},
    {"a\nx\xE2\x82\n", "t.csv: line 2, column 1: byte 0xE2 (a) is not UTF-8; save the file in UTF-8"},
    {"a\nx\n\"y\n", "t.csv: line 3, column 1: the quote that opens the field is never closed"},
    {"", "t.csv: the file is empty"},
};

TEST(CsvReader, RefusesTextWhereNumbersAreAndTextThatIsNotUtf8) {
    for (const bad_text& bad : bad_text_columns) {
        expect_refused(bad, nd_host::csv_content::numbers_and_text);
    }
}

const std::vector<bad_text> bad_texts = {
    {"", "t.csv: the file is empty"},
    {"\n \n", "t.csv: the file is empty"},
    {"1,2\n3\n", "t.csv: line 2, column 1: the line has 1 columns, the lines before it 2"},
    {"1,2\n\n3,4,5\n", "t.csv: line 3, column 3: the line has 3 columns, the lines before it 2"},
    {"a,b\n1,2\n3,x\n", "t.csv: line 3, column 2: 'x' (b) is not a number that a double can hold"},
    {"1\n0x10\n", "t.csv: line 2, column 1: '0x10' is not a number that a double can hold"},
    {"1\n1e400\n", "t.csv: line 2, column 1: '1e400' is not a number that a double can hold"},
    {"1e400\n", "t.csv: line 1, column 1: '1e400' is not a number that a double can hold"},
    {"1e999,1e-400\n3,4\n", "t.csv: line 1, column 1: '1e999' is not a number that a double can hold"},
    {"1,-1e400\n", "t.csv: line 1, column 2: '-1e400' is not a number that a double can hold"},
    {"1\nnan(abc)\n", "t.csv: line 2, column 1: 'nan(abc)' is not a number that a double can hold"},
    {"1\n+-1\n", "t.csv: line 2, column 1: '+-1' is not a number that a double can hold"},
    {"1\n1;2\n", "t.csv: line 2, column 1: '1;2' is not a number that a double can hold"},
    {"1\n" + std::string(1000, 'z'),
     "t.csv: line 2, column 1: 'zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz...' is not a "
     "number that a double can hold"},
    {"1,2x,3\n4,5,6\n",
     "t.csv: line 1, column 2: '2x' is no number, but column 3 of this line is one; if these are "
     "column names, quote them"},
    {"a\n\"1\n2\n", "t.csv: line 2, column 1: the quote that opens the field is never closed"},
    {"\"a\"b\n", "t.csv: line 1, column 1: something follows the closing quote"},
    {std::string("1,\0\n", 4),
     "t.csv: line 1, column 2: byte 0x00 doesn't belong into a text file; is this CSV in UTF-8?"},
    {"\"a\x1b\"\n",
     "t.csv: line 1, column 1: byte 0x1B doesn't belong into a text file; is this CSV in UTF-8?"},
    {"\x7f"
     "ELF\n",
     "t.csv: line 1, column 1: byte 0x7F doesn't belong into a text file; is this CSV in UTF-8?"},
};

TEST(CsvReader, RefusesTheRestWithLineAndColumn) {
    for (const bad_text& bad : bad_texts) {
        expect_refused(bad, nd_host::csv_content::numbers);
    }
}

TEST(CsvReader, CountsLinesThatAQuotedFieldSpans) {
    EXPECT_THROW(
        {
            try {
                parse_csv("\"a\nb\"\n1\nx\n", "t.csv");
            } catch (const nd_host::failure& error) {
                EXPECT_EQ(std::string(error.what()).find("t.csv: line 4, column 1: "), 0U) << error.what();
                throw;
            }
        },
        nd_host::failure);
}

// 17 significant digits bring every finite double back bit for bit.
TEST(CsvReader, RoundTripsRandomBitPatterns) {
    std::mt19937_64 random(20240101);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        const auto value = std::bit_cast<double>(bits);
        if (!std::isfinite(value)) {
            continue;
        }
        std::array<char, 40> text{};
        const auto end =
            std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 17).ptr;
        const auto back =
            nd_host::parse_number(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
        ASSERT_TRUE(back.has_value()) << text.data();
        ASSERT_TRUE(same(*back, value)) << text.data();
    }
}

TEST(CsvReader, TakesALineOfAMillionColumns) {
    std::string text = "0";
    for (int i = 1; i < 1000000; ++i) {
        text += ",1";
    }
    const csv_table table = parse_csv(text, "t.csv");
    EXPECT_EQ(table.columns, 1000000U);
    EXPECT_EQ(table.rows, 1U);
}

// Whatever the bytes, there is a table whose counts agree, or a failure of the right kind.
TEST(CsvReader, SurvivesJunk) {
    std::mt19937 random(7);
    const std::string_view alphabet("0123456789.,,,\n\n\r\"\"eE+-naif \t\x80\xFF\x01");
    int taken = 0;
    for (int i = 0; i < 100000; ++i) {
        std::string text;
        for (unsigned n = random() % 24; n > 0; --n) {
            text += alphabet[random() % alphabet.size()];
        }
        try {
            const csv_table table = parse_csv(text, "junk");
            ASSERT_EQ(table.values.size(), table.rows * table.columns);
            ASSERT_TRUE(table.names.empty() || table.names.size() == table.columns);
            const csv_table with_text = parse_csv(text, "junk", nd_host::csv_content::numbers_and_text);
            ASSERT_EQ(with_text.values.size(), table.values.size());
            ++taken;
        } catch (const nd_host::failure& error) {
            ASSERT_EQ(error.status(), nd_host::exit_status::bad_input);
        }
    }
    EXPECT_GT(taken, 1000); // the alphabet makes enough texts that are CSV
}

TEST(CsvReader, TellsWhyAFileCannotBeRead) {
    for (const auto& [path, reason] : std::vector<std::pair<std::string, std::string>>{
             {"/nonexistent/x.csv", "/nonexistent/x.csv: can't be read: No such file or directory"},
             {"/", "/: can't be read: Is a directory"}}) {
        try {
            nd_host::read_csv(path);
            FAIL() << path;
        } catch (const nd_host::failure& error) {
            EXPECT_EQ(error.what(), reason);
        }
    }
}

} // namespace
