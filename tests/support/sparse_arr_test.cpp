// Sparse arrays in place: what they store, how they differ and print, and how a wrong list is answered.
#include "support/sparse_arr.hpp"

#include "matrix/validate.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <bit>
#include <set>
#include <stdexcept>

namespace {

using test::arr;
using test::EqualsArray;
using test::not_stored;
using test::place_in;
using test::sparse_arr;
using test::sparse_of;
using ::testing::HasSubstr;

using SparseArr = test::NdTest;

const std::size_t* words(std::uint64_t address) { return std::bit_cast<const std::size_t*>(address); }

TEST_F(SparseArr, StoresWhatItIsTold) {
    const auto array = sparse_arr("double 3x4", {{1, 0, 1.5}, {2, 0, 0}, {0, 3, -2}}, 5);
    EXPECT_EQ(matrix::internal::validate(array.get()), "");
    EXPECT_EQ(array->info_c, 5U);
    const std::size_t starts[] = {0, 2, 2, 2, 3};
    const std::size_t rows[] = {1, 2, 0};
    const double values[] = {1.5, 0, -2};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(words(array->info_b)[i], starts[i]);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(words(array->info_a)[i], rows[i]);
        EXPECT_EQ(static_cast<const double*>(array->pdata)[i], values[i]);
    }
    EXPECT_EQ(place_in(array.get(), 2, 0), 1U);
    EXPECT_EQ(place_in(array.get(), 0, 3), 2U);
    EXPECT_EQ(place_in(array.get(), 1, 3), not_stored);
}

TEST_F(SparseArr, OfAFullArrayStoresItsNonzeroElements) {
    EXPECT_THAT(sparse_of(arr("double 2x2", {0, -0.0, 3, 0})),
                EqualsArray(sparse_arr("double 2x2", {{0, 1, 3}})));
    EXPECT_THAT(sparse_of(arr("complex single 1x2", {{0, 1}, {0, 0}}), 3),
                EqualsArray(sparse_arr("complex single 1x2", {{0, 0, {0, 1}}})));
    EXPECT_THAT(sparse_of(arr("logical 2x1x2", {1, 0, 0, 1})),
                EqualsArray(sparse_arr("logical 2x2", {{0, 0, 1}, {1, 1, 1}})));
}

TEST_F(SparseArr, DiffersByPatternAndByValue) {
    const auto array = sparse_arr("double 2x2", {{0, 0, 1}});
    EXPECT_THAT(test::array_difference(array.get(), sparse_arr("double 2x2", {{0, 1, 1}}).get()),
                HasSubstr("columns"));
    EXPECT_THAT(test::array_difference(array.get(), sparse_arr("double 2x2", {{1, 0, 1}}).get()),
                HasSubstr("rows"));
    EXPECT_THAT(test::array_difference(array.get(), sparse_arr("double 2x2", {{0, 0, 2}}).get()),
                HasSubstr("differ"));
    EXPECT_THAT(test::array_difference(array.get(), arr("double 2x2", {1, 0, 0, 0}).get()),
                HasSubstr("storage"));
}

TEST_F(SparseArr, PrintsWhatIsStored) {
    EXPECT_THAT(test::array_text(sparse_arr("double 3x3", {{1, 0, 1.5}, {2, 2, -2}}).get()),
                HasSubstr("double 3x3 {(2,1) 1.5, (3,3) -2} ["));
    EXPECT_THAT(test::array_text(sparse_arr("logical 3x3", {}).get()), HasSubstr("logical 3x3 {} ["));
    std::vector<test::stored_value> many;
    for (std::size_t i = 0; i < 20; ++i) many.push_back({i, 0, 1});
    EXPECT_THAT(test::array_text(sparse_arr("double 20x1", many).get()),
                HasSubstr("(12,1) 1, ... 20 stored}"));
}

TEST_F(SparseArr, RefusesValuesOutOfPlace) {
    EXPECT_THROW(sparse_arr("double 2x2", {{2, 0, 1}}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("double 2x2", {{0, 2, 1}}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("double 2x2", {{1, 0, 1}, {0, 0, 1}}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("double 2x2", {{0, 0, 1}, {0, 0, 1}}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("double 2x2", {{0, 1, 1}, {0, 0, 1}}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("double 2x2x2", {}), std::invalid_argument);
    EXPECT_THROW(sparse_arr("logical 2x2", {{0, 0, 1.5}}), std::invalid_argument);
}

// Every kind of block that a sparse array can have, with room to spare and without.
TEST_F(SparseArr, HasVariations) {
    for (const auto* const kind : {"double 3x3", "complex single 3x3", "logical 3x3"}) {
        const auto array = sparse_arr(kind, {{0, 1, 1}, {2, 2, 1}});
        std::set<std::size_t> rooms;
        int seen = 0;
        test::for_each_variation(array, [&](matrix::array_ptr& x) {
            ++seen;
            rooms.insert(x->info_c);
            EXPECT_EQ(matrix::internal::validate(x.get()), "");
        });
        EXPECT_GE(seen, 8);
        EXPECT_EQ(rooms, (std::set<std::size_t>{2, 5}));
    }
}

} // namespace
