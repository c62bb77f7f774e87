// References of sparse arrays against those of the same values stored in full.
#include "indexing/colon_support.hpp"
#include "indexing/reference_support.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include "matrix/dimensions.hpp"

#include <functional>

namespace test {
namespace {

using matrix::array_ptr;
using ReferenceSparse = NdTest;

array_ptr full_matrix() {
    return arr("double 4x5", {0, 2, 0, 4, 0, 0, 0, 0, 9, 0, 0, 12, 0, 14, 15, 0, 17, 0, 0, 20});
}

array_ptr ones(const char* shape) {
    const array_ptr zeros = arr(shape);
    return arr(shape, std::vector<number>(matrix::internal::element_count(zeros.get()), number(1)));
}

using maker = std::function<array_ptr()>;

const maker linear_subscripts[] = {
    colon,
    [] { return range(1, 1, 20); },
    [] { return range(20, -3, 1); },
    [] { return range(2, 5, 19); },
    [] { return range(5, 1, 4); },
    [] { return arr("double", {4}); },
    [] { return arr("double", {3}); },
    [] {
        return arr("double 1x4", {20, 4, 4, 1});
    },
    [] {
        return arr("int16 4x1", {20, 4, 4, 1});
    },
    [] {
        return arr("double 2x3", {20, 1, 12, 2, 2, 9});
    },
    [] { return arr("double 0x3"); },
    [] { return arr("logical 4x5", {0, 1, 1, 1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1}); },
    [] {
        return arr("logical 1x5", {1, 1, 0, 1, 1});
    },
    [] {
        return sparse_arr("logical 4x5", {{1, 0, 1}, {2, 0, 1}, {3, 4, 1}});
    },
    [] { return arr("cell 1x2"); },
};

TEST_F(ReferenceSparse, OfOneSubscriptIsAsOfTheFullArray) {
    for (const maker& subscript : linear_subscripts) {
        SCOPED_TRACE(array_text(subscript().get()));
        const array_ptr wanted = at(full_matrix(), subscript());
        for_each_variation(sparse_of(full_matrix()), [&](array_ptr& x) {
            EXPECT_THAT(at(x, subscript()), EqualsArray(sparse_of(wanted)));
        });
    }
}

const maker row_subscripts[] = {
    colon,
    [] { return range(4, -1, 1); },
    [] { return range(2, 2, 4); },
    [] {
        return arr("double 1x5", {4, 2, 2, 1, 4});
    },
    [] {
        return arr("double 1x3", {2, 2, 4});
    },
    [] { return arr("double", {2}); },
    [] {
        return arr("logical 1x4", {0, 1, 0, 1});
    },
    [] { return arr("double 1x0"); },
};
const maker column_subscripts[] = {
    colon,
    [] { return range(5, -2, 1); },
    [] {
        return arr("double 1x4", {3, 3, 1, 5});
    },
    [] { return arr("double", {4}); },
    [] {
        return arr("logical 1x5", {0, 1, 0, 0, 1});
    },
    [] { return range(2, 1, 1); },
};

TEST_F(ReferenceSparse, OfTwoSubscriptsIsAsOfTheFullArray) {
    for (const maker& row : row_subscripts) {
        for (const maker& column : column_subscripts) {
            SCOPED_TRACE(array_text(row().get()) + ", " + array_text(column().get()));
            const array_ptr wanted = sparse_of(at(full_matrix(), row(), column()));
            EXPECT_THAT(at(sparse_of(full_matrix()), row(), column()), EqualsArray(wanted.get()));
            EXPECT_THAT(at(sparse_of(full_matrix()), row(), column(), arr("double", {1}), colon()),
                        EqualsArray(wanted.get()));
        }
    }
}

TEST_F(ReferenceSparse, OfEverySparseClass) {
    EXPECT_THAT(at(sparse_of(arr("logical 2x2", {1, 0, 1, 1})), arr("double", {1}), colon()),
                EqualsArray(sparse_of(arr("logical 1x2", {1, 1}))));
    EXPECT_THAT(at(sparse_arr("single 2x2", {{1, 1, 2.5}}), arr("double 1x2", {4, 3})),
                EqualsArray(sparse_arr("single 1x2", {{0, 0, 2.5}})));
    const array_ptr x = sparse_arr("complex double 2x2", {{0, 0, {1, 0}}, {1, 1, {2, 3}}});
    EXPECT_THAT(at(x, colon(), arr("double", {2})),
                EqualsArray(sparse_arr("complex double 2x1", {{1, 0, {2, 3}}})));
    EXPECT_THAT(at(x, colon(), arr("double", {1})), EqualsArray(sparse_arr("double 2x1", {{0, 0, 1}})))
        << "all of it real";
}

TEST_F(ReferenceSparse, KeepsZerosThatAreStored) {
    const array_ptr x = sparse_arr("double 2x2", {{0, 0, 0}, {1, 0, 5}});
    EXPECT_THAT(at(x, range(2, -1, 1), arr("double", {1})),
                EqualsArray(sparse_arr("double 2x1", {{0, 0, 5}, {1, 0, 0}})));
}

TEST_F(ReferenceSparse, OfMoreThanTwoDimensionsIsFull) {
    const array_ptr x = sparse_of(full_matrix());
    EXPECT_THAT(at(x, colon(), arr("double", {1}), arr("double 1x2", {1, 1})),
                EqualsArray(arr("double 4x1x2", {0, 2, 0, 4, 0, 2, 0, 4})));
    EXPECT_THAT(at(x, arr("double 1x1x2", {4, 9})), EqualsArray(arr("double 1x1x2", {4, 9})));
    for (const maker& row : row_subscripts) {
        for (const maker& column : column_subscripts) {
            for (const char* const shape : {"double 1x2", "double 2x2", "double 0x0"}) {
                SCOPED_TRACE(array_text(row().get()) + ", " + array_text(column().get()) + ", " + shape);
                EXPECT_THAT(at(x, row(), column(), ones(shape)),
                            EqualsArray(at(full_matrix(), row(), column(), ones(shape))));
            }
        }
    }
    const array_ptr mixed = sparse_arr("complex double 2x2", {{0, 0, {1, 0}}, {1, 1, {2, 3}}});
    EXPECT_THAT(at(mixed, arr("double 1x1x2", {1, 4})),
                EqualsArray(arr("complex double 1x1x2", {{1, 0}, {2, 3}})));
    EXPECT_THAT(at(mixed, arr("double 1x1x2", {1, 2})), EqualsArray(arr("double 1x1x2", {1, 0})))
        << "all of it real";
    EXPECT_THAT(at(sparse_of(arr("logical 2x2", {1, 0, 1, 1})), arr("double 1x1x2", {2, 3})),
                EqualsArray(arr("logical 1x1x2", {0, 1})));
    EXPECT_THAT(at(x, colon(), arr("double", {1}), arr("cell 1x2")), EqualsArray(arr("double 4x1x0")));
}

// Not only the result: a full array of this source's shape can't be had.
TEST_F(ReferenceSparse, OfMoreThanTwoDimensionsCostsWhatIsSelected) {
    const array_ptr x = sparse_arr("double 1099511627776x4", {{0, 0, 1}, {7, 1, 2}});
    const auto one = [] { return arr("double", {1}); };
    EXPECT_THAT(at(x, one(), one(), arr("double 0x0")), EqualsArray(arr("double 1x1x0")));
    EXPECT_THAT(at(x, one(), one(), arr("double 1x2", {1, 1})), EqualsArray(arr("double 1x1x2", {1, 1})));
    EXPECT_THAT(at(x, arr("double 1x1x2", {2, 1})), EqualsArray(arr("double 1x1x2", {0, 1})));
    EXPECT_EQ(error_at(x, one(), colon(), arr("double 1x2", {1, 2})),
              "TARVEL:badsubscript indexExceedsDims(3, 1099511627776x4, 2, 3, numeric)");
}

// Dimensions behind the second count as columns where no subscript tells them apart.
TEST_F(ReferenceSparse, OfASourceOfMoreDimensionsIsAsOfTheFullArray) {
    constexpr std::size_t dims[] = {2, 3, 2};
    const array_ptr full = arr("double 2x3x2", {1, 0, 0, 0, 0, 2, 3, 0, 0, 0, 4, 5});
    const array_ptr x = sparse_of(arr("double 2x6", {1, 0, 0, 0, 0, 2, 3, 0, 0, 0, 4, 5}));
    x->set_dimensions(dims);
    const auto one = [](double index) { return arr("double", {index}); };
    const auto few = [] { return arr("double 1x3", {12, 1, 6}); };
    EXPECT_THAT(at(x, colon()), EqualsArray(sparse_of(at(full, colon()))));
    EXPECT_THAT(at(x, few()), EqualsArray(sparse_of(at(full, few()))));
    EXPECT_THAT(at(x, range(11, -1, 1)), EqualsArray(sparse_of(at(full, range(11, -1, 1)))));
    EXPECT_THAT(at(x, colon(), colon()), EqualsArray(sparse_of(at(full, colon(), colon()))));
    EXPECT_THAT(at(x, one(2), range(6, -1, 2)), EqualsArray(sparse_of(at(full, one(2), range(6, -1, 2)))));
    EXPECT_THAT(at(x, one(2), one(3), one(2)), EqualsArray(arr("double", {5})));
    EXPECT_THAT(at(x, colon(), colon(), one(2)), EqualsArray(arr("double 2x3", {3, 0, 0, 0, 4, 5})));
    EXPECT_EQ(error_at(x, one(1), one(4), one(1)),
              "TARVEL:badsubscript indexExceedsDims(2, 2x3x2, 4, 3, numeric)");
}

// As of a full array without data.
TEST_F(ReferenceSparse, OfAHeaderThatLostABlockIsZero) {
    const array_ptr x = sparse_of(full_matrix());
    for (const sparse_block& block : sparse_blocks) {
        SCOPED_TRACE(block.name);
        const std::uint64_t word = block.take(x.get());
        for (const maker& subscript : linear_subscripts) {
            EXPECT_THAT(at(x, subscript()), EqualsArray(sparse_of(at(arr("double 4x5"), subscript()))));
        }
        EXPECT_THAT(at(x, colon(), range(5, -2, 1)), EqualsArray(sparse_arr("double 4x3", {})));
        EXPECT_THAT(at(x, colon(), colon(), ones("double 1x2")), EqualsArray(arr("double 4x5x2")));
        block.put(x.get(), word);
    }
}

TEST_F(ReferenceSparse, WarnsOnceOfARangeWithFractions) {
    const silent_warnings warnings;
    const array_ptr x = sparse_of(full_matrix());
    EXPECT_THAT(at(x, range(1.2, 1, 3.2), arr("double", {1}), arr("double 1x2", {1, 1})),
                EqualsArray(arr("double 3x1x2", {0, 2, 0, 0, 2, 0})));
    EXPECT_EQ(warnings.count(), 1u);
    EXPECT_THAT(at(range(1, 1, 3), range(1.2, 1, 3.2)), EqualsArray(arr("double 1x3", {1, 2, 3})));
    EXPECT_EQ(warnings.count(), 2u) << "of a range";
}

TEST_F(ReferenceSparse, OfAVeryTallArrayCostsWhatIsStored) {
    constexpr std::size_t tall = std::size_t{1} << 40;
    const array_ptr x =
        sparse_arr("double 1099511627776x4", {{0, 0, 1}, {tall - 1, 1, 2}, {tall / 2, 3, -1}});
    const auto last = static_cast<double>(4 * tall);
    EXPECT_THAT(at(x, colon()),
                EqualsArray(sparse_arr("double 4398046511104x1",
                                       {{0, 0, 1}, {2 * tall - 1, 0, 2}, {3 * tall + tall / 2, 0, -1}})));
    EXPECT_THAT(at(x, range(1, 1, static_cast<double>(tall)), arr("double 1x2", {2, 1})),
                EqualsArray(sparse_arr("double 1099511627776x2", {{tall - 1, 0, 2}, {0, 1, 1}})));
    EXPECT_THAT(at(x, arr("double 1x2", {last, static_cast<double>(2 * tall)})),
                EqualsArray(sparse_arr("double 1x2", {{0, 1, 2}})));
}

TEST_F(ReferenceSparse, RaisesWhatTheFullOneDoes) {
    const array_ptr x = sparse_of(full_matrix());
    EXPECT_EQ(error_at(x, arr("double", {21})),
              "TARVEL:badsubscript indexExceedsDims(1, 4x5, 21, 1, numeric)");
    EXPECT_EQ(error_at(x, arr("double", {1}), arr("logical 1x6", {0, 0, 0, 0, 0, 1})),
              "TARVEL:badsubscript indexExceedsDims(2, 4x5, 6, 2, logical)");
    EXPECT_EQ(error_at(x, arr("double", {1.5}), colon()),
              "TARVEL:badsubscript badTypeIndices(1, 4x5, 1.5, 2)");
    EXPECT_EQ(error_at(x, colon(), colon(), arr("double", {2})),
              "TARVEL:badsubscript indexExceedsDims(3, 4x5, 2, 3, numeric)");
}

} // namespace
} // namespace test
