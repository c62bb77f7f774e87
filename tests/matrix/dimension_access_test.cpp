// What is computed from dimensions: the shape that subscripts see, offsets, emptiness.
#include "matrix/class_table.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>

#include <gmock/gmock.h>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using ::testing::ElementsAreArray;
using dims_list = std::vector<std::size_t>;

array_ptr shaped(const dims_list& dims) { return matrix::create(dims, ndINT8_CLASS, ndREAL); }

using FoldedDimensions = NdTest;

TEST_F(FoldedDimensions, AreAsManyAsTheSubscripts) {
    struct {
        dims_list dims;
        dims_list folded;
    } const rows[] = {
        {{2, 3, 4}, {24}},
        {{2, 3, 4}, {2, 12}},
        {{2, 3, 4}, {2, 3, 4}},
        {{2, 3, 4}, {2, 3, 4, 1}},
        {{2, 3, 4}, {2, 3, 4, 1, 1, 1}},
        {{2, 3}, {6}},
        {{2, 3}, {2, 3}},
        {{2, 3}, {2, 3, 1}},
        {{0, 5}, {0}},
        {{0, 5}, {0, 5}},
        {{5, 0, 3}, {5, 0}},
        {{1, 1}, {1}},
        {{2, 2, 2, 2, 3}, {2, 2, 12}},
        {{2, 3}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.dims) + " by " + std::to_string(row.folded.size()));
        const auto array = shaped(row.dims);
        constexpr std::size_t guard = 77;
        dims_list out(row.folded.size() + 1, guard);
        api::ndGetDims(array.get(), row.folded.size(), out.data());
        EXPECT_EQ(out.back(), guard) << "no more than asked for";
        out.pop_back();
        EXPECT_THAT(out, ElementsAreArray(row.folded));
    }
}

TEST_F(FoldedDimensions, GoToNowhereForNoSubscripts) { api::ndGetDims(shaped({2, 3, 4}).get(), 0, nullptr); }

using SingleSubscript = NdTest;

// The offset of each element of an array, counted by walking it in column-major order.
TEST_F(SingleSubscript, CountsTheElementsBefore) {
    for (const dims_list& dims :
         {dims_list{3, 4}, dims_list{2, 3, 4}, dims_list{1, 5}, dims_list{2, 1, 3, 2}}) {
        const auto array = shaped(dims);
        dims_list subs(dims.size(), 0);
        for (std::size_t offset = 0; offset < api::ndGetNumberOfElements(array.get()); ++offset) {
            EXPECT_EQ(api::ndCalcSingleSubscript(array.get(), subs.size(), subs.data()), offset);
            for (std::size_t d = 0; d < dims.size() && ++subs[d] == dims[d]; ++d) subs[d] = 0;
        }
    }
}

TEST_F(SingleSubscript, UsesNoMoreThanTheDimensions) {
    const std::size_t subs[] = {1, 2, 3, 4, 5};
    const auto matrix = shaped({3, 4});
    for (const std::size_t nsubs : {2U, 3U, 5U}) {
        EXPECT_EQ(api::ndCalcSingleSubscript(matrix.get(), nsubs, subs), 7U) << nsubs;
    }
    const auto solid = shaped({3, 4, 5});
    EXPECT_EQ(api::ndCalcSingleSubscript(solid.get(), 5, subs), 1U + 2 * 3 + 3 * 12);
}

TEST_F(SingleSubscript, UsesNoMoreThanAreGiven) {
    const std::size_t subs[] = {1, 2, 3};
    const auto solid = shaped({3, 4, 5});
    EXPECT_EQ(api::ndCalcSingleSubscript(solid.get(), 2, subs), 7U);
    EXPECT_EQ(api::ndCalcSingleSubscript(solid.get(), 1, subs), 1U);
    EXPECT_EQ(api::ndCalcSingleSubscript(solid.get(), 0, subs), 0U);
    EXPECT_EQ(api::ndCalcSingleSubscript(solid.get(), 0, nullptr), 0U);
}

TEST_F(SingleSubscript, ComparesNothingWithTheDimensions) {
    const std::size_t beyond[] = {100, 100};
    EXPECT_EQ(api::ndCalcSingleSubscript(shaped({3, 4}).get(), 2, beyond), 400U);
    EXPECT_EQ(api::ndCalcSingleSubscript(shaped({0, 0}).get(), 2, beyond), 100U);
}

// Unsigned arithmetic all the way: a sum or product that kvIndex can't hold goes on from 0.
TEST_F(SingleSubscript, WrapsBeyondTheLargestOffset) {
    constexpr std::size_t largest = ~std::size_t{0}, half = std::size_t{1} << 32;
    struct {
        dims_list dims;
        dims_list subs;
        std::size_t offset;
    } const rows[] = {{{3, 4}, {largest, 1}, 2},
                      {{3, 4}, {5, largest}, 2},
                      {{3, 4}, {0, largest}, largest - 2},
                      {{half, half, 0}, {1, 2, 3}, 2 * half + 1},
                      {{half, half, 0}, {0, half, 0}, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(api::ndCalcSingleSubscript(shaped(row.dims).get(), row.subs.size(), row.subs.data()),
                  row.offset);
}

// Dimensions beside a 0 may be too large for their product.
TEST_F(FoldedDimensions, StopAtTheLargestSize) {
    const auto array = shaped({std::size_t{1} << 40, std::size_t{1} << 40, 0});
    std::size_t folded[3] = {};
    api::ndGetDims(array.get(), 2, folded);
    EXPECT_EQ(folded[1], 0U) << "the 0 is part of the product";
    const auto swapped = shaped({0, std::size_t{1} << 40, std::size_t{1} << 40});
    api::ndGetDims(swapped.get(), 2, folded);
    EXPECT_EQ(folded[0], 0U);
    EXPECT_EQ(folded[1], ~std::size_t{0});
}

using Shape = NdTest;

TEST_F(Shape, IsTheSameInEveryRepresentation) {
    for_each_variation(numbered("double 2x3x4"), [](array_ptr& array) {
        EXPECT_EQ(api::ndGetNumberOfDimensions(array.get()), 3U);
        EXPECT_EQ(api::ndGetM(array.get()), 2U);
        EXPECT_EQ(api::ndGetN(array.get()), 12U);
        EXPECT_EQ(api::ndGetNumberOfElements(array.get()), 24U);
        EXPECT_FALSE(api::ndIsEmpty(array.get()));
        std::size_t folded[2];
        api::ndGetDims(array.get(), 2, folded);
        EXPECT_THAT(folded, ::testing::ElementsAre(2U, 12U));
    });
}

TEST_F(Shape, IsEmptyWhereADimensionIsZero) {
    struct {
        dims_list dims;
        bool empty;
    } const rows[] = {
        {{}, true},         {{0, 5}, true},    {{5, 0}, true},     {{0, 0}, true},
        {{2, 0, 3}, true},  {{2, 3, 0}, true}, {{1, 1}, false},    {{5}, false},
        {{2, 3, 4}, false}, {{0, 1, 1}, true}, {{1, 1, 2}, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(api::ndIsEmpty(shaped(row.dims).get()), row.empty) << ::testing::PrintToString(row.dims);
}

// The dimensions are those of the operands, of which there are always some.
TEST_F(Shape, OfAColonObjectSaysNothingOfItsRange) {
    const auto range = matrix::create_colon_object(1, 1, 5);
    EXPECT_FALSE(api::ndIsEmpty(range.get()));
    EXPECT_EQ(api::ndGetNumberOfElements(range.get()), 3U) << "as it is stored";
    const auto nothing = matrix::create_colon_object(5, 1, 1);
    EXPECT_TRUE(api::ndIsEmpty(nothing.get()));
    EXPECT_EQ(api::ndGetNumberOfElements(nothing.get()), 3U);
}

// Zero is a matter of each dimension, not of a product that has wrapped.
TEST_F(Shape, IsNotEmptyWhenTheProductWraps) {
    const auto array = shaped({0, 0});
    api::ndSetM(array.get(), std::size_t{1} << 32);
    api::ndSetN(array.get(), std::size_t{1} << 32);
    EXPECT_FALSE(api::ndIsEmpty(array.get()));
    api::ndSetM(array.get(), 0);
}

} // namespace
} // namespace test
