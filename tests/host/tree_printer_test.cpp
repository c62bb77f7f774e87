// Results that are no matrices of numbers: trees of values, and the line of elements behind each.
#include "support/arr.hpp"

#include <quoted_text.hpp>
#include <shown_range.hpp>
#include <tree_printer.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <vector>

namespace {

using matrix::array_ptr;
using test::arr;
using test::numbered;
using test::struct_arr;
using namespace std::complex_literals;

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

std::string tree(const array_ptr& array, bool whole = false) {
    return nd_host::tree_text("out", *array, whole);
}

std::size_t lines_of(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

struct value_case {
    array_ptr value;
    const char* line; // behind "out: "
};

void expect_lines(const std::vector<value_case>& cases, bool whole = false) {
    for (const value_case& c : cases) {
        EXPECT_EQ(tree(c.value, whole), "out: " + std::string(c.line) + "\n");
    }
}

template <class... Cases>
std::vector<value_case> table(Cases&&... cases) {
    std::vector<value_case> list;
    (list.push_back(std::forward<Cases>(cases)), ...);
    return list;
}

TEST(ValueLine, ShowsSmallArraysOfEveryClass) {
    expect_lines(
        table(value_case{arr("double", {5}), "1x1 double 5"},
              value_case{arr("double 1x3", {1, -2.5, 1e-9}), "1x3 double [1 -2.5 1e-09]"},
              value_case{arr("double 3x1", {nan, inf, -inf}), "3x1 double [NaN; Inf; -Inf]"},
              value_case{arr("double 2x2", {1, 2, 3, 4}), "2x2 double [1 3; 2 4]"},
              value_case{arr("single 1x2", {315.42, 123456789}), "1x2 single [315.42 123456792]"},
              value_case{arr("double 1x2", {1.0 / 3, 1234567.8}), "1x2 double [0.333333 1.23457e+06]"},
              value_case{arr("int8 1x2", {-128, 127}), "1x2 int8 [-128 127]"},
              value_case{arr("uint64", {std::numeric_limits<std::uint64_t>::max()}),
                         "1x1 uint64 18446744073709551615"},
              value_case{arr("logical 1x2", {1, 0}), "1x2 logical [1 0]"},
              value_case{arr("complex double 1x2", {{1, -2}, 3.5i}), "1x2 complex double [1-2i 0+3.5i]"},
              value_case{arr("complex int16", {{-7, 8}}), "1x1 complex int16 -7+8i"}));
}

TEST(ValueLine, ShowsTextInQuotes) {
    expect_lines(
        table(value_case{arr("char", u"Fiji"), "1x4 char 'Fiji'"},
              value_case{arr("char", u"it's a\\b"), "1x8 char 'it\\'s a\\\\b'"},
              value_case{arr("char", u"\n\r\t\x1B[\x7F\x9B"), "1x7 char '\\n\\r\\t\\x1B[\\x7F\\x9B'"},
              value_case{arr("char", u"\u00E4\U0001F30B"), "1x3 char '\u00E4\U0001F30B'"},
              value_case{arr("char", std::u16string{u'a', 0xDF0B, u'b', 0xD83C}), "1x4 char 'a\uFFFDb\uFFFD'"},
              value_case{arr("char 2x2", u"abcd"), "2x2 char ['ac'; 'bd']"},
              value_case{arr("char 2x1", u"ab"), "2x1 char ['a'; 'b']"},
              value_case{arr("char 1x1x2", u"ab"), "1x1x2 char 'a' 'b'"}));
}

TEST(ValueLine, ShowsDimensionsBeyondTheSecondPageByPage) {
    expect_lines(table(value_case{numbered("double 2x2x2"), "2x2x2 double [1 3; 2 4] [5 7; 6 8]"},
                       value_case{numbered("int8 1x1x2"), "1x1x2 int8 [1] [2]"},
                       value_case{numbered("double 1x2x2x2"), "1x2x2x2 double [1 2] [3 4] ... [7 8]"}));
}

TEST(ValueLine, CutsLongArraysInTheMiddle) {
    expect_lines(table(
        value_case{numbered("double 1x12"), "1x12 double [1 2 3 4 5 6 7 8 9 10 11 12]"},
        value_case{numbered("double 1x13"), "1x13 double [1 2 3 4 5 6 7 8 ... 12 13]"},
        value_case{numbered("double 20x1"), "20x1 double [1; 2; 3; 4; 5; 6; 7; 8; ...; 19; 20]"},
        value_case{numbered("double 5x7"),
                   "5x7 double [1 6 11 16 ... 31; 2 7 12 17 ... 32; ...; 5 10 15 20 ... 35]"},
        value_case{numbered("double 4x6"),
                   "4x6 double [1 5 9 13 17 21; 2 6 10 14 18 22; 3 7 11 15 19 23; 4 8 12 16 20 24]"},
        value_case{arr("char", std::u16string(72, u'a')),
                   "1x72 char 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa'"},
        value_case{arr("char", std::u16string(73, u'a')),
                   "1x73 char 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa'..."}));
    const auto volcano_at_the_cut = std::u16string(59, u'a') + u"\U0001F30B" + std::u16string(20, u'a');
    EXPECT_EQ(tree(arr("char", volcano_at_the_cut)), "out: 1x81 char '" + std::string(59, 'a') + "'...\n");
}

TEST(ValueLine, ShowsEverythingWhenAskedTo) {
    expect_lines(table(value_case{numbered("double 1x13"), "1x13 double [1 2 3 4 5 6 7 8 9 10 11 12 13]"},
                       value_case{numbered("double 1x1x4"), "1x1x4 double [1] [2] [3] [4]"}),
                 true);
    const std::u16string text(500, u'a');
    EXPECT_EQ(tree(arr("char", text), true), "out: 1x500 char '" + std::string(500, 'a') + "'\n");
}

TEST(ValueLine, TellsSizeAndClassOfWhatHasNoElementsToShow) {
    expect_lines(table(value_case{arr("double 0x0"), "0x0 double"}, value_case{arr("char 1x0"), "1x0 char"},
                       value_case{arr("int8 2x0x3"), "2x0x3 int8"}, value_case{arr("cell 0x3"), "0x3 cell"},
                       value_case{arr("logical 0x1"), "0x1 logical"}));
    const array_ptr unknown(nd_array_api::ndCreateEmptyUnknownArrayNotOnArrayList());
    EXPECT_EQ(tree(unknown), "out: 0x0 unknown\n");
}

TEST(TreePrinter, IndentsWhatContainersHold) {
    const auto value = struct_arr(
        "1x1", {"mag", "place", "parts", "none"}, arr("double 1x3", {4.8, 4.2, 5.4}), arr("char", u"Fiji"),
        arr("cell 1x3", arr("int8 2x2", {1, 3, 2, 4}), nullptr, arr("cell 1x1", arr("logical", {1}))),
        arr("double 0x0"));
    EXPECT_EQ(tree(value), "out: 1x1 struct\n"
                           "  mag: 1x3 double [4.8 4.2 5.4]\n"
                           "  place: 1x4 char 'Fiji'\n"
                           "  parts: 1x3 cell\n"
                           "    {1}: 2x2 int8 [1 2; 3 4]\n"
                           "    {2}: empty\n"
                           "    {3}: 1x1 cell\n"
                           "      {1}: 1x1 logical 1\n"
                           "  none: 0x0 double\n");
}

TEST(TreePrinter, NamesElementsAsOneWritesThem) {
    EXPECT_EQ(tree(arr("cell 2x2", arr("double", {1}), arr("double", {2}), nullptr, nullptr)),
              "out: 2x2 cell\n"
              "  {1,1}: 1x1 double 1\n"
              "  {2,1}: 1x1 double 2\n"
              "  {1,2}: empty\n"
              "  {2,2}: empty\n");
    EXPECT_EQ(tree(arr("cell 2x1", arr("double", {1}), nullptr)), "out: 2x1 cell\n"
                                                                  "  {1}: 1x1 double 1\n"
                                                                  "  {2}: empty\n");
    EXPECT_EQ(tree(arr("cell 1x1x2", nullptr, arr("double", {3}))), "out: 1x1x2 cell\n"
                                                                    "  {1,1,1}: empty\n"
                                                                    "  {1,1,2}: 1x1 double 3\n");
    EXPECT_EQ(tree(struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("char", u"x"), arr("double", {2}),
                              nullptr)),
              "out: 1x2 struct\n"
              "  (1).a: 1x1 double 1\n"
              "  (1).b: 1x1 char 'x'\n"
              "  (2).a: 1x1 double 2\n"
              "  (2).b: empty\n");
}

TEST(TreePrinter, TellsTheFieldsOfStructsWithoutElements) {
    EXPECT_EQ(tree(struct_arr("0x0", {"a", "b"})), "out: 0x0 struct with fields a, b\n");
    EXPECT_EQ(tree(struct_arr("1x1", {})), "out: 1x1 struct without fields\n");
    EXPECT_EQ(tree(struct_arr("0x1", {})), "out: 0x1 struct without fields\n");
}

TEST(TreePrinter, ShowsObjectsUnderTheNameOfTheirClass) {
    const auto object = struct_arr("1x1", {"a"}, arr("double", {1}));
    ASSERT_EQ(nd_array_api::ndSetClassName(object.get(), "volcano\n"), 0);
    EXPECT_EQ(tree(object), "out: 1x1 volcano\\n\n"
                            "  a: 1x1 double 1\n");
    nd_array_api::ndSetObjectClassName(object.get(), nullptr);
    EXPECT_EQ(tree(object), "out: 1x1 object\n"
                            "  a: 1x1 double 1\n");
}

TEST(TreePrinter, KeepsControlBytesOfFieldNamesFromTheTerminal) {
    const struct {
        const char* name;
        const char* shown;
    } rows[] = {
        {"a\x1B[2J\xC3\xA4", "a\\x1B[2J\xC3\xA4"},
        {"a\x9B"
         "31m",
         "a\\x9B31m"},
        {"a\xC2\x9B"
         "31m",
         "a\\x9B31m"},
        {"\xC2\xA0\xE2\x82\xAC\xF0\x9F\x8C\x8B\x7F", "\xC2\xA0\xE2\x82\xAC\xF0\x9F\x8C\x8B\\x7F"},
        {"\xE2\x82", "\\xE2\\x82"},
        {"\xE9t\xE9", "\\xE9t\\xE9"},
        {"\xFF\xC0\x9B", "\\xFF\\xC0\\x9B"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tree(struct_arr("1x1", {row.name}, nullptr)),
                  "out: 1x1 struct\n  " + std::string(row.shown) + ": empty\n");
    }
}

TEST(TreePrinter, ShowsSharedValuesInEveryPlace) {
    const auto number = arr("double 1x2", {1, 2});
    const auto cell = arr("cell 1x2", array_ptr(nd_array_api::ndCreateReference(number.get())),
                          matrix::detail::do_shared_copy(number.get()));
    EXPECT_EQ(tree(cell), "out: 1x2 cell\n"
                          "  {1}: 1x2 double [1 2]\n"
                          "  {2}: 1x2 double [1 2]\n");
}

// Whoever shows so many at most lists no more of them, however many there are.
TEST(ShownRange, ListsWhatIsAskedFor) {
    constexpr nd_host::cut how{4, 2, 1};
    using nd_host::gap;
    using nd_host::shown_indices;
    using indices = std::vector<std::size_t>;
    EXPECT_EQ(shown_indices(4, how, false), (indices{0, 1, 2, 3}));
    EXPECT_EQ(shown_indices(6, how, false), (indices{0, 1, gap, 5}));
    EXPECT_EQ(shown_indices(6, how, true), (indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(shown_indices(gap, how, true, 3), (indices{0, 1, 2}));
}

TEST(TreePrinter, CutsLongContainersInTheMiddle) {
    const std::string cell = tree(arr("cell 1x21"));
    EXPECT_EQ(lines_of(cell), 1U + 12 + 1 + 3);
    EXPECT_NE(cell.find("  {12}: empty\n  ...\n  {19}: empty\n"), std::string::npos) << cell;
    EXPECT_EQ(lines_of(tree(arr("cell 1x20"))), 1U + 20);
    EXPECT_EQ(lines_of(tree(arr("cell 1x21"), true)), 1U + 21);

    std::vector<std::string> names;
    std::vector<const char*> fields;
    for (int i = 1; i <= 41; ++i) names.push_back("f" + std::to_string(i));
    for (const std::string& name : names) fields.push_back(name.c_str());
    const std::string shown = tree(test::struct_of_arrays("1x1", fields, {}));
    EXPECT_EQ(lines_of(shown), 1U + 30 + 1 + 5);
    EXPECT_NE(shown.find("  f30: empty\n  ...\n  f37: empty\n"), std::string::npos) << shown;
    EXPECT_NE(tree(test::struct_of_arrays("0x0", fields, {})).find("f30, ..., f37,"), std::string::npos);
}

// Cells, each in the next, around a number.
array_ptr nested(std::size_t depth) {
    array_ptr value = arr("double", {7});
    for (std::size_t i = 0; i < depth; ++i) {
        array_ptr outer = matrix::create_cell(std::array<std::size_t, 2>{1, 1});
        nd_array_api::ndSetCell(outer.get(), 0, value.get());
        value.release();
        value = std::move(outer);
    }
    return value;
}

TEST(TreePrinter, EndsAtItsDeepestLevel) {
    const std::string ten = tree(nested(10));
    EXPECT_EQ(lines_of(ten), 11U);
    EXPECT_EQ(ten.substr(ten.find_last_of('{')), "{1}: 1x1 double 7\n");
    const std::string eleven = tree(nested(11));
    EXPECT_EQ(lines_of(eleven), 11U);
    EXPECT_EQ(eleven.substr(eleven.find_last_of('{')), "{1}: 1x1 cell ...\n");

    const auto deep = nested(1000000);
    EXPECT_EQ(lines_of(tree(deep)), 11U);
    EXPECT_EQ(lines_of(tree(deep, true)), 101U);
}

// A cell with the same cell in each of its two slots, and so on: 2^depth paths lead to the number.
array_ptr branching(int depth) {
    array_ptr value = arr("double", {7});
    for (int i = 0; i < depth; ++i) {
        array_ptr outer = matrix::create_cell(std::array<std::size_t, 2>{1, 2});
        nd_array_api::ndSetCopyInCell(outer.get(), 0, value.get());
        nd_array_api::ndSetCell(outer.get(), 1, value.get());
        value.release();
        value = std::move(outer);
    }
    return value;
}

TEST(TreePrinter, EndsAfterItsLastLine) {
    const std::string six = tree(branching(6));
    EXPECT_EQ(lines_of(six), 101U);
    EXPECT_EQ(six.substr(six.rfind("...")), "... the first 100 lines are shown\n");
    EXPECT_EQ(tree(branching(5)).find("..."), std::string::npos);

    // The title is a line as well.
    EXPECT_EQ(lines_of(tree(arr("cell 1x99999"), true)), 100000U);
    for (const char* const longer : {"cell 1x100000", "cell 1x5000000"}) {
        const std::string cut = tree(arr(longer), true);
        EXPECT_EQ(lines_of(cut), 100001U);
        EXPECT_EQ(cut.substr(cut.rfind("  {")), "  {99999}: empty\n... the first 100000 lines are shown\n");
    }
    const std::string fields = tree(struct_arr("1x50000", {"a", "b"}), true);
    EXPECT_EQ(fields.substr(fields.rfind("  (")),
              "  (50000).a: empty\n... the first 100000 lines are shown\n");

    const std::string whole = tree(branching(30), true);
    EXPECT_EQ(lines_of(whole), 100001U);
    EXPECT_EQ(whole.substr(whole.rfind("...")), "... the first 100000 lines are shown\n");
}

} // namespace
