// Subscripts of every class as slots.
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "indexing/subscript_value.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using Subscripts = NdTest;

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::nan("");
constexpr double two_48 = 281474976710656.0;

TEST_F(Subscripts, AreTheColonWhenTheTextIsOneColon) {
    EXPECT_EQ(converted(arr("char", u":"), 4), ":4");
    EXPECT_EQ(converted(arr("char", u":"), 0), ":0") << "the colon of a dimension of 0 isn't nothing";
    EXPECT_EQ(converted(keep(api::ndCreateColonIndex()), 7), ":7");
    EXPECT_EQ(converted(arr("char", u"::")), "[57 57] max 58");
    EXPECT_EQ(converted(arr("uint16", {58})), "[57] max 58") << "the number of the colon in another class";
    EXPECT_EQ(converted(arr("char", u";")), "[58] max 59");
}

TEST_F(Subscripts, OfNumbersAreListsInTheirOrder) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.complexity == ndCOMPLEX || c.id == ndLOGICAL_CLASS) return;
        EXPECT_EQ(converted(arr(c.name + " 1x4", {3, 1, 4, 1})), "[2 0 3 0] max 4");
        EXPECT_EQ(converted(arr(c.name + " 2x2", {3, 1, 4, 1})), "[2 0 3 0] max 4");
        EXPECT_EQ(converted(arr(c.name, {7})), "[6] max 7");
        EXPECT_EQ(converted(arr(c.name + " 0x0")), "nothing");
        EXPECT_EQ(converted(arr(c.name + " 3x0")), "nothing");
    });
}

TEST_F(Subscripts, AreTheSameInEveryRepresentation) {
    for (const char* const description : {"double 1x3", "uint8 3x1", "char 1x3", "int64 1x3"}) {
        for_each_variation(arr(description, {2, 9, 4}),
                           [](array_ptr& x) { EXPECT_EQ(converted(x), "[1 8 3] max 9"); });
    }
    for_each_variation(arr("logical 1x3", {1, 0, 1}),
                       [](array_ptr& x) { EXPECT_EQ(converted(x), "[0 2] max 3"); });
}

// A real array may be split by force; what counts stands in the separate block then.
TEST_F(Subscripts, OfASplitArrayAreItsCurrentNumbers) {
    const array_ptr x = arr("double 1x3", {2, 9, 4});
    ASSERT_TRUE(x->split_data(true));
    EXPECT_EQ(converted(x), "[1 8 3] max 9");
}

TEST_F(Subscripts, OfOtherClassesSelectNothing) {
    for_each_class(class_set::all, [](const class_case& c) {
        if (matrix::internal::has_plain_elements(c.id) && c.id != ndVOID_CLASS) return;
        const std::size_t dims[] = {1, 2};
        EXPECT_EQ(converted(matrix::create(dims, c.id, ndREAL)), "nothing");
    });
}

struct bad_number {
    const char* description;
    number value;
    const char* written;
    bool too_large;
};

const bad_number bad_numbers[] = {
    {"double", 0, "0", false},
    {"double", -1, "-1", false},
    {"double", 1.5, "1.5", false},
    {"double", 0.5, "0.5", false},
    {"double", nan, "NaN", false},
    {"double", inf, "Inf", false},
    {"double", -inf, "-Inf", false},
    {"double", two_48 - 0.5, "281474976710655.5", false},
    {"double", two_48 + 0.5, "281474976710656.5", false},
    {"double", two_48, "281474976710656", true},
    {"double", 0x1p52, "4503599627370496", true},
    {"double", 0x1p63, "9223372036854775808", true},
    {"double", 1e300, "1e+300", true},
    {"double", -1e300, "-1e+300", false},
    {"single", 0, "0", false},
    {"single", -3, "-3", false},
    {"single", 2.5, "2.5", false},
    {"single", nan, "NaN", false},
    {"single", inf, "Inf", false},
    {"single", -inf, "-Inf", false},
    {"single", two_48, "2.8147498e+14", true},
    {"single", 0x1p100, "1.2676506e+30", true},
    {"int8", 0, "0", false},
    {"int8", -128, "-128", false},
    {"int16", 0, "0", false},
    {"int16", -32768, "-32768", false},
    {"int32", 0, "0", false},
    {"int32", std::numeric_limits<std::int32_t>::min(), "-2147483648", false},
    {"int64", 0, "0", false},
    {"int64", std::numeric_limits<std::int64_t>::min(), "-9223372036854775808", false},
    {"int64", std::int64_t{1} << 48, "281474976710656", true},
    {"int64", std::numeric_limits<std::int64_t>::max(), "9223372036854775807", true},
    {"uint8", 0, "0", false},
    {"uint16", 0, "0", false},
    {"char", 0, "0", false},
    {"uint32", 0, "0", false},
    {"uint64", 0, "0", false},
    {"uint64", std::uint64_t{1} << 48, "281474976710656", true},
    {"uint64", std::numeric_limits<std::uint64_t>::max(), "18446744073709551615", true},
};

// Each bad number alone, and at every place among good ones: the first bad one is told.
TEST_F(Subscripts, ThatCantBeIndicesAreRefused) {
    for (const bad_number& bad : bad_numbers) {
        SCOPED_TRACE(std::string(bad.description) + " " + bad.written);
        const std::string invalid =
            "TARVEL:badsubscript badTypeIndices(2, , " + std::string(bad.written) + ", 3)";
        const std::string exceeding =
            "TARVEL:badsubscript indexExceedsDims(2, 3x4, " + std::string(bad.written) + ", 3, numeric)";
        constexpr std::size_t count = 40;
        for (std::size_t place = 0; place < count; ++place) {
            std::vector<number> numbers(count, number(3));
            numbers[place] = bad.value;
            if (place % 3 == 0) numbers.resize(place + 1, number(3)); // also as the last one
            const array_ptr x =
                arr(std::string(bad.description) + " 1x" + std::to_string(numbers.size()), numbers);
            EXPECT_EQ(error_of([&] { converted(x, 10, true, growing(2, 3)); }),
                      bad.too_large ? "TARVEL:pmaxsize pmaxsize()" : invalid);
            const std::string wanted =
                "TARVEL:badsubscript badTypeIndices(2, 3x4, " + std::string(bad.written) + ", 3)";
            EXPECT_EQ(error_of([&] { converted(x, 10, true, within_3x4(2, 3)); }),
                      bad.too_large ? exceeding : wanted);
        }
    }
}

TEST_F(Subscripts, GoUpToTheLargestIndex) {
    constexpr std::uint64_t largest = matrix::internal::index_limit;
    static_assert(largest == 281474976710655);
    for (const char* const description : {"double", "int64", "uint64"})
        EXPECT_EQ(converted(arr(description, {largest})), "[281474976710654] max 281474976710655");
    EXPECT_EQ(converted(arr("single", {0x1p48 - 0x1p24})), "[281474959933439] max 281474959933440");
    EXPECT_EQ(converted(arr("uint32", {std::numeric_limits<std::uint32_t>::max()})),
              "[4294967294] max 4294967295");
    EXPECT_EQ(converted(arr("int8", {127})), "[126] max 127");
    EXPECT_EQ(converted(arr("uint8", {255})), "[254] max 255");
    EXPECT_EQ(converted(arr("char", u"\uFFFF")), "[65534] max 65535");
}

TEST_F(Subscripts, AreNeverComplex) {
    for_each_class(class_set::numeric, [](const class_case& c) {
        if (c.complexity == ndREAL) return;
        EXPECT_EQ(error_of([&] {
                      converted(arr(c.name + " 1x2", {{2, 0}, {3, 0}}));
                  }),
                  "TARVEL:badsubscript badTypeIndices(1, , 2+0i, 1)")
            << "whatever the imaginary parts are";
        EXPECT_EQ(error_of([&] { converted(arr(c.name + " 0x0")); }),
                  "TARVEL:badsubscript badTypeIndices(1, , none, 1)");
    });
    EXPECT_EQ(error_of([] {
                  converted(arr("complex double", {{1.5, -2}}));
              }),
              "TARVEL:badsubscript badTypeIndices(1, , 1.5-2i, 1)");
    EXPECT_EQ(error_of([] {
                  converted(sparse_arr("complex double 1x1", {{0, 0, {2, 1}}}));
              }),
              "TARVEL:badsubscript badTypeIndices(1, , none, 1)");
    const array_ptr split = arr("complex double", {{2, 1}});
    ASSERT_TRUE(split->split_data(false));
    EXPECT_EQ(error_of([&] { converted(split); }), "TARVEL:badsubscript badTypeIndices(1, , 2+1i, 1)");
}

TEST_F(Subscripts, MayBeSparseWithoutZeros) {
    EXPECT_EQ(converted(sparse_arr("double 1x3", {{0, 0, 3}, {0, 1, 1}, {0, 2, 2}}, 8)), "[2 0 1] max 3");
    EXPECT_EQ(converted(sparse_arr("single 2x1", {{0, 0, 3}, {1, 0, 4}})), "[2 3] max 4");
    EXPECT_EQ(error_of([] {
                  converted(sparse_arr("double 1x3", {{0, 0, 1}, {0, 2, 2}}));
              }),
              "TARVEL:badsubscript badTypeIndices(1, , 0, 1)");
    EXPECT_EQ(error_of([] {
                  converted(sparse_arr("double 1x3", {{0, 0, 1}, {0, 1, 0}, {0, 2, 2}}));
              }),
              "TARVEL:badsubscript badTypeIndices(1, , 0, 1)")
        << "a zero that is stored";
    EXPECT_EQ(converted(sparse_arr("double 0x3", {})), "nothing");
}

TEST_F(Subscripts, OfTruthAreThePositionsOfTheTrueElements) {
    EXPECT_EQ(converted(arr("logical 1x4", {1, 0, 1, 1})), "[0 2 3] max 4");
    EXPECT_EQ(converted(arr("logical 2x2", {0, 1, 0, 0})), "[1] max 2");
    EXPECT_EQ(converted(arr("logical 1x3", {0, 0, 0})), "nothing");
    EXPECT_EQ(converted(arr("logical 0x0")), "nothing");
    EXPECT_EQ(converted(arr("logical 0x5")), "nothing");
    EXPECT_EQ(converted(arr("logical 1x6", {0, 1, 0, 0, 0, 0}), 2), "[1] max 2")
        << "longer than the dimension";
    const array_ptr odd = arr("logical 1x3", {1, 0, 1});
    static_cast<std::uint8_t*>(odd->pdata)[2] = 0x80;
    EXPECT_EQ(converted(odd), "[0 2] max 3") << "any byte but 0 is true";
}

TEST_F(Subscripts, OfTruthMayBeSparse) {
    EXPECT_EQ(converted(sparse_arr("logical 3x3", {{2, 0, 1}, {0, 2, 1}, {1, 2, 1}}, 7)), "[2 6 7] max 8");
    EXPECT_EQ(converted(sparse_arr("logical 3x3", {})), "nothing");
    EXPECT_EQ(converted(sparse_arr("logical 0x3", {})), "nothing");
    EXPECT_EQ(converted(sparse_arr("logical 3x0", {})), "nothing");
}

// rows tall and columns wide, with one element: the column starts are made as if there were no others between.
array_ptr tall_sparse(std::size_t rows, std::size_t columns, std::size_t row, std::size_t column) {
    array_ptr x = sparse_arr("logical 1x" + std::to_string(columns), {{0, column, 1}});
    const std::size_t dims[] = {rows, columns};
    x->set_dimensions(dims);
    *std::bit_cast<std::uint64_t*>(x->info_a) = row;
    return x;
}

TEST_F(Subscripts, OfTruthEndAtTheLargestIndex) {
    constexpr std::size_t tall = (std::size_t{1} << 48) - 2; // one column fits, and one element of the next
    const std::string exceeding = "TARVEL:badsubscript indexExceedsDims(1, 3x4, ";
    struct {
        std::size_t rows, columns, row, column;
        const char* position; ///< of the element, or what the error says of it
        bool fits;
    } const rows[] = {
        {tall, 1, 5, 0, "[5] max 6", true},
        {tall, 1, tall - 1, 0, "[281474976710653] max 281474976710654", true},
        {tall, 2, 0, 1, "[281474976710654] max 281474976710655", true},
        {tall, 2, 1, 1, "281474976710656", false},
        {tall, 3, 3, 0, "[3] max 4", true},
        {tall, 3, 0, 1, "[281474976710654] max 281474976710655", true},
        {tall, 3, 0, 2, "none", false},
        {tall, 9, 0, 8, "none", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.columns) + " columns, " + std::to_string(row.row) + " in " +
                     std::to_string(row.column));
        const array_ptr x = tall_sparse(row.rows, row.columns, row.row, row.column);
        if (row.fits) {
            EXPECT_EQ(converted(x), row.position);
            continue;
        }
        EXPECT_EQ(error_of([&] { converted(x); }), "TARVEL:pmaxsize pmaxsize()");
        EXPECT_EQ(error_of([&] { converted(x, 10, true, within_3x4()); }),
                  exceeding + row.position + ", 1, logical)");
    }
}

// Elements that nothing is known of are no indices. Where there are none, nothing is missing.
TEST_F(Subscripts, WithoutDataAreRefused) {
    const std::string invalid = "TARVEL:badsubscript badTypeIndices(1, , none, 1)";
    const std::string bounded = "TARVEL:badsubscript badTypeIndices(2, 3x4, none, 1)";
    struct {
        array_ptr subscript;
        std::string raised;
        std::string selected;
    } const rows[] = {
        {arr("double 1x3", {3, 1, 2}), invalid, ""},
        {arr("int64", {3}), invalid, ""},
        {arr("char", u":"), invalid, ""},
        {arr("char 1x2", {3, 4}), invalid, ""},
        {arr("complex double 1x2", {{1, 2}, 2}), invalid, ""},
        {arr("logical 1x2", {1, 0}), invalid, ""},
        {arr("logical", {0}), invalid, ""},
        {matrix::create_colon_object(1, 2, 9), invalid, ""},
        {sparse_arr("double 1x2", {{0, 0, 3}, {0, 1, 4}}), invalid, ""},
        {arr("double 0x3"), "", "nothing"},
        {arr("logical 0x3"), "", "nothing"},
        {arr("cell 1x2"), "", "nothing"},
    };
    for (const auto& row : rows) {
        ndArray_tag* const x = row.subscript.get();
        SCOPED_TRACE(std::to_string(x->class_id));
        void* const data = std::exchange(x->pdata, nullptr);
        EXPECT_EQ(error_of([&] { EXPECT_EQ(converted(x), row.selected); }), row.raised);
        if (!row.raised.empty()) {
            EXPECT_EQ(error_of([&] { converted(x, 10, true, within_3x4(2)); }), bounded);
        }
        x->pdata = data;
    }
}

// A sparse one needs its rows where it stores anything; without both vectors it stores nothing.
TEST_F(Subscripts, WithoutIndexVectorsAreRefusedWhereTheyAreNeeded) {
    const array_ptr truth = sparse_arr("logical 2x3", {{1, 0, 1}, {0, 2, 1}});
    const array_ptr skeleton(api::ndCreateSkeletonCopy(truth.get(), ndREAL));
    EXPECT_EQ(converted(skeleton), "nothing");
    const std::uint64_t rows = std::exchange(truth->info_a, 0);
    EXPECT_EQ(error_of([&] { converted(truth); }), "TARVEL:badsubscript badTypeIndices(1, , none, 1)");
    truth->info_a = rows;
    EXPECT_EQ(converted(truth), "[1 4] max 5");
}

// The blocks stay as they were when the dimensions are set.
TEST_F(Subscripts, OfTruthFollowTheDimensionsOfASparseArray) {
    const array_ptr truth = sparse_arr("logical 2x6", {{1, 0, 1}, {0, 2, 1}, {1, 5, 1}});
    const std::size_t folded[] = {2, 3, 2};
    truth->set_dimensions(folded);
    EXPECT_EQ(converted(truth), "[1 4 11] max 12");
    const std::size_t without_rows[] = {0, 6};
    truth->set_dimensions(without_rows);
    EXPECT_EQ(converted(truth), "nothing");
    const std::size_t without_columns[] = {2, 0};
    truth->set_dimensions(without_columns);
    EXPECT_EQ(converted(truth), "nothing");
}

TEST_F(Subscripts, FillTheSlotsBehindAFieldSlot) {
    SubscriptSet set(3, true, true);
    EXPECT_EQ(set.start, 1u);
    EXPECT_EQ(set.count, 3u);
    const array_ptr first = arr("double 1x2", {2, 1});
    const array_ptr second = arr("char", u":");
    const ndArray_tag* const subscripts[] = {first.get(), second.get()};
    for (std::size_t i = 0; i < 2; ++i) FillSubscriptSlot(set, i, &subscripts[i], 5, growing());
    EXPECT_EQ(set.indices[0], nullptr);
    EXPECT_EQ(set.info.num[0], 0u);
    EXPECT_EQ(slot_text(set, 1), "[1 0] max 2");
    EXPECT_EQ(slot_text(set, 2), ":5");
    EXPECT_EQ(set.info.NumIndices(0), 2u);
    EXPECT_EQ(set.info.MaxIndex(1), 5u);
    EXPECT_FALSE(set.info.IsEmpty(0));
    EXPECT_FALSE(set.info.IsSingleton(0));
    EXPECT_FALSE(set.info.IsColonCorrespondingToZeroDim(1));
}

TEST_F(Subscripts, TellWhatTheySelect) {
    struct {
        array_ptr subscript;
        std::size_t dim;
        bool empty, singleton, colon_of_zero;
    } const rows[] = {
        {arr("double", {3}), 5, false, true, false},         {arr("double 0x0"), 5, true, false, false},
        {arr("logical 1x2", {0, 0}), 5, true, false, false}, {arr("char", u":"), 0, false, false, true},
        {arr("char", u":"), 1, false, true, false},          {arr("char", u":"), 2, false, false, false},
    };
    for (const auto& row : rows) {
        SubscriptSet set(1, true, false);
        const ndArray_tag* const subscript = row.subscript.get();
        FillSubscriptSlot(set, 0, &subscript, row.dim, growing());
        EXPECT_EQ(set.info.IsEmpty(0), row.empty);
        EXPECT_EQ(set.info.IsSingleton(0), row.singleton);
        EXPECT_EQ(set.info.IsColonCorrespondingToZeroDim(0), row.colon_of_zero);
    }
}

// Ten slots stand in the set; eleven need blocks, which are zero filled.
TEST_F(Subscripts, MayBeMany) {
    for (const std::size_t slots : {1u, 10u, 11u, 40u}) {
        SubscriptSet set(slots, true, false);
        const array_ptr x = arr("double", {3});
        const ndArray_tag* const subscript = x.get();
        for (std::size_t i = 0; i < slots; ++i) {
            EXPECT_EQ(set.indices[i], nullptr);
            EXPECT_EQ(set.kinds[i], matrix::internal::slot_kind::list);
            EXPECT_EQ(set.info.NumIndices(i) + set.info.MaxIndex(i), 0u);
            EXPECT_EQ(set.info.GetIndexFlag(i), Korvane::engine::IndexFlag::list);
        }
        for (std::size_t i = 0; i < slots; ++i) FillSubscriptSlot(set, i, &subscript, 5, growing());
        for (std::size_t i = 0; i < slots; ++i) EXPECT_EQ(slot_text(set, i), "[2] max 3");
    }
}

TEST_F(Subscripts, UpToTenNeedNoBlockForTheSet) {
    const live_blocks before = count_live_blocks();
    const SubscriptSet ten(10, true, false);
    EXPECT_EQ(count_live_blocks(), before);
}

TEST_F(Subscripts, TakeThePlaceOfWhatASlotHeld) {
    SubscriptSet set(1, true, false);
    const array_ptr x = arr("double 1x2", {3, 4});
    const ndArray_tag* const subscript = x.get();
    for (int i = 0; i < 2; ++i) FillSubscriptSlot(set, 0, &subscript, 5, growing());
    EXPECT_EQ(slot_text(set, 0), "[2 3] max 4");
    set.put_nothing(0);
    EXPECT_EQ(slot_text(set, 0), "nothing");
}

} // namespace
} // namespace test
