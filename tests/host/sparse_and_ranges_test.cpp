// Results that don't store their elements one by one: sparse arrays as lists and pictures, colon objects as their values.
#include "support/arr.hpp"

#include <array_view.hpp>
#include <csv_writer.hpp>
#include <range_values.hpp>
#include <table_printer.hpp>
#include <tree_printer.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using matrix::array_ptr;
using nd_host::array_view;
using test::arr;
using test::struct_arr;
using namespace std::complex_literals;

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

array_ptr sparse(array_ptr full) { return matrix::convert_to_sparse_if_needed(std::move(full)); }

// m by n, with a 1 in each of the places, which count down the columns.
array_ptr with_ones(std::size_t m, std::size_t n, const std::vector<std::size_t>& places) {
    array_ptr array = matrix::detail::do_create_sparse(m, n, places.size(), ndDOUBLE_CLASS, ndREAL, true);
    kvIndex* const starts = nd_array_api::ndGetJc(array.get());
    for (std::size_t k = 0; k < places.size(); ++k) {
        nd_array_api::ndGetIr(array.get())[k] = places[k] % m;
        static_cast<double*>(array->pdata)[k] = 1;
        std::for_each(starts + places[k] / m + 1, starts + n + 1, [](kvIndex& start) { ++start; });
    }
    return array;
}

std::vector<std::size_t> first_places(std::size_t count) {
    std::vector<std::size_t> places(count);
    for (std::size_t i = 0; i < count; ++i) {
        places[i] = i;
    }
    return places;
}

std::string tree(const array_ptr& array, bool whole = false) {
    return nd_host::tree_text("out", *array, whole);
}

std::string repeated(std::size_t count, const std::string& text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(SparseText, ListsWhatIsStoredAndDrawsThePattern) {
    EXPECT_EQ(tree(sparse(arr("double 3x4", {5, 0, 0, 0, -2.5, 0, 0, 0, 0, 1e9, 0, nan}))),
              "out: 3x4 sparse double, 4 stored\n"
              "  (1,1)  5\n"
              "  (2,2)  -2.5\n"
              "  (1,4)  1000000000\n"
              "  (3,4)  NaN\n"
              "  |*..*|\n"
              "  |.*..|\n"
              "  |...*|\n");
    EXPECT_EQ(tree(sparse(arr("logical 1x3", {1, 0, 1}))), "out: 1x3 sparse logical, 2 stored\n"
                                                           "  (1,1)  1\n"
                                                           "  (1,3)  1\n"
                                                           "  |*.*|\n");
    EXPECT_EQ(tree(sparse(arr("complex double 2x1", {{0, 0}, {1, -2}}))),
              "out: 2x1 complex sparse double, 1 stored\n"
              "  (2,1)  1-2i\n"
              "  |.|\n"
              "  |*|\n");
    EXPECT_EQ(tree(sparse(arr("double", {0.1}))), "out: 1x1 sparse double, 1 stored\n  (1,1)  0.1\n");
}

TEST(SparseText, TellsArraysThatStoreNothing) {
    for (const auto& [m, n] : {std::pair<std::size_t, std::size_t>{2, 3}, {0, 3}, {3, 0}, {0, 0}}) {
        EXPECT_EQ(tree(with_ones(m, n, {})),
                  "out: " + std::to_string(m) + "x" + std::to_string(n) + " sparse double, nothing stored\n");
    }
}

TEST(SparseText, ShowsZerosThatAreStored) {
    const array_ptr array = with_ones(2, 2, {3});
    static_cast<double*>(array->pdata)[0] = 0;
    EXPECT_EQ(tree(array), "out: 2x2 sparse double, 1 stored\n  (2,2)  0\n  |..|\n  |.*|\n");
}

TEST(SparseText, CutsLongListsInTheMiddle) {
    EXPECT_EQ(tree(with_ones(10, 4, first_places(20))).find("..."), std::string::npos);
    const std::string cut = tree(with_ones(10, 4, first_places(21)));
    EXPECT_NE(cut.find("  (2,2)   1\n  ...\n  (9,2)   1\n  (10,2)  1\n  (1,3)   1\n  |***.|\n  |**..|\n"),
              std::string::npos)
        << cut;
    const std::string whole = tree(with_ones(10, 4, first_places(21)), true);
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 1 + 21 + 10);
}

TEST(SparseText, DrawsLargeArraysSmall) {
    EXPECT_EQ(tree(with_ones(12, 48, {0, 575})), "out: 12x48 sparse double, 2 stored\n"
                                                 "  (1,1)    1\n"
                                                 "  (12,48)  1\n"
                                                 "  |*" +
                                                     repeated(47, ".") + "|\n" +
                                                     repeated(10, "  |" + repeated(48, ".") + "|\n") + "  |" +
                                                     repeated(47, ".") + "*|\n");
    EXPECT_EQ(tree(with_ones(13, 49, {12, 13 * 48 + 1})), "out: 13x49 sparse double, 2 stored\n"
                                                          "  (13,1)  1\n"
                                                          "  (2,49)  1\n"
                                                          "  |" +
                                                              repeated(24, ".") + "*|\n" +
                                                              repeated(5, "  |" + repeated(25, ".") + "|\n") +
                                                              "  |*" + repeated(24, ".") +
                                                              "|\n"
                                                              "  each character stands for 2x2 elements\n");
    constexpr std::size_t many = std::size_t{1} << 40;
    const std::string tall = tree(with_ones(many, 2, {many - 1, many}));
    EXPECT_EQ(tall, "out: 1099511627776x2 sparse double, 2 stored\n"
                    "  (1099511627776,1)  1\n"
                    "  (1,2)              1\n"
                    "  |.*|\n" +
                        repeated(10, "  |..|\n") +
                        "  |*.|\n"
                        "  each character stands for 91625968982x1 elements\n");
}

TEST(SparseText, StandsInTreesAndEndsWithTheirLines) {
    EXPECT_EQ(tree(struct_arr("1x1", {"a", "b"}, sparse(arr("double 1x2", {0, 3})), arr("double", {1}))),
              "out: 1x1 struct\n"
              "  a: 1x2 sparse double, 1 stored\n"
              "    (1,2)  3\n"
              "    |.*|\n"
              "  b: 1x1 double 1\n");
    const std::string cut = tree(with_ones(1000, 200, first_places(100001)), true);
    EXPECT_EQ(std::count(cut.begin(), cut.end(), '\n'), 100001);
    EXPECT_EQ(cut.substr(cut.rfind("  (")), "  (999,100)   1\n... the first 100000 lines are shown\n");
    const std::string picture = tree(with_ones(1000, 200, first_places(99990)), true);
    EXPECT_EQ(picture.substr(picture.rfind("...")), "... the first 100000 lines are shown\n");
    EXPECT_EQ(std::count(picture.begin(), picture.end(), '|'), 18);
}

// What an addon function may have put in.
TEST(SparseText, TellsArraysWithUnfitVectorsBySizeAndClass) {
    const char* const plain = "out: 3x2 sparse double\n";
    const array_ptr rows = with_ones(3, 2, {0, 4});
    nd_array_api::ndGetIr(rows.get())[1] = 3;
    EXPECT_EQ(tree(rows), plain);
    const array_ptr falling = with_ones(3, 2, {0, 4});
    nd_array_api::ndGetJc(falling.get())[1] = 3;
    EXPECT_EQ(tree(falling), plain);
    const array_ptr late = with_ones(3, 2, {3, 4});
    nd_array_api::ndGetJc(late.get())[0] = 1;
    nd_array_api::ndGetJc(late.get())[1] = 1;
    EXPECT_EQ(tree(late), plain);
    const array_ptr little_room = with_ones(3, 2, {0, 4});
    nd_array_api::ndSetNzmax(little_room.get(), 1);
    EXPECT_EQ(tree(little_room), plain);
    EXPECT_FALSE(array_view(*rows).has_numbers());
}

TEST(ColonObjects, AreShownAsTheirValues) {
    struct {
        array_ptr range;
        const char* line;
    } rows[] = {
        {matrix::create_colon_object(1, 1, 5), "1x5 double [1 2 3 4 5]"},
        {matrix::create_colon_object(0, 0.1, 0.3), "1x4 double [0 0.1 0.2 0.3]"},
        {matrix::create_colon_object(5, -1, 4.5, ndSINGLE_CLASS), "1x1 single 5"},
        {matrix::create_colon_object(3, 1, 1), "1x0 double"},
        {matrix::create_colon_object(nan, 1, 3), "1x1 double NaN"},
        {matrix::create_colon_object(97, 2, 103, ndCHAR_CLASS), "1x4 char 'aceg'"},
        {matrix::create_colon_object(-1, 1, 1, ndINT8_CLASS), "1x3 int8 [-1 0 1]"},
        {matrix::create_int_colon_object(9223372036854775805LL, 1LL, 9223372036854775807LL, ndINT64_CLASS),
         "1x3 int64 [9223372036854775805 9223372036854775806 9223372036854775807]"},
        {matrix::create_colon_object(1, 1, 20), "1x20 double [1 2 3 4 5 6 7 8 ... 19 20]"},
        {matrix::create_colon_object(1, 1, 1048577), "1x1048577 double 1:1:1048577"},
        {matrix::create_colon_object(0, 0.5, 1e12), "1x2000000000001 double 0:0.5:1000000000000"},
        {matrix::create_colon_object(97, 1e-6, 122, ndCHAR_CLASS), "1x25000001 char 97:1e-06:122"},
        {matrix::create_int_colon_object(1LL, 1LL, 9223372036854775807LL, ndINT64_CLASS),
         "1x281474976710655 int64 1:1:9223372036854775807"},
        {matrix::create_int_colon_object(18446744073709551615ULL, -2.0, 1ULL, ndUINT64_CLASS),
         "1x281474976710655 uint64 18446744073709551615:-2:1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tree(row.range), "out: " + std::string(row.line) + "\n");
        EXPECT_TRUE(nd_array_api::ndIsColonObj(row.range.get()));
    }
}

TEST(ColonObjects, AreTablesAndFilesLikeTheVectorsTheyStandFor) {
    const array_ptr range = matrix::create_colon_object(0, 0.25, 0.5);
    const array_view view(*range);
    EXPECT_TRUE(view.has_numbers());
    EXPECT_EQ(nd_host::csv_text(view, {}), "0,0.25,0.5\n");
    EXPECT_EQ(nd_host::table_text("out", view, {}, false), "out: 1x3 double\n"
                                                           "     1     2    3\n"
                                                           "  1  0  0.25  0.5\n");
    EXPECT_FALSE(array_view(*matrix::create_colon_object(97, 1, 99, ndCHAR_CLASS)).has_numbers());
    EXPECT_TRUE(array_view(*matrix::create_colon_object(97, 1, 99, ndCHAR_CLASS)).has_text());
}

TEST(ColonObjects, AreExpandedUpToALength) {
    EXPECT_TRUE(array_view(*matrix::create_colon_object(1, 1, nd_host::longest_range)).has_numbers());
    const array_ptr longer = matrix::create_colon_object(1, 1, nd_host::longest_range + 1.0);
    EXPECT_FALSE(array_view(*longer).has_numbers());
    EXPECT_FALSE(array_view(*matrix::create_colon_object(97, 1e-6, 122, ndCHAR_CLASS)).has_text());
}

TEST(ColonObjects, WithoutOperandsAreWhatIsLeftOfThem) {
    const array_ptr range = matrix::create_colon_object(1, 1, 5);
    void* const operands = range->pdata;
    range->pdata = nullptr;
    EXPECT_EQ(tree(range), "out: 1x3 double\n");
    range->pdata = operands;
}

} // namespace
