// Sparse arrays that were given more than two dimensions, which leaves their blocks alone: they go on as the matrices of their columns.
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>
#include <nd/sparse.hpp>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using FoldedSparse = NdTest;
using matrix::array_ptr;
using indices = std::vector<kvIndex>;

constexpr std::size_t columns = 6;
const indices starts{0, 1, 1, 2, 3, 3, 5};

array_ptr two_by_six() {
    return sparse_arr("double 2x6", {{0, 0, 1}, {1, 2, 2}, {0, 3, 3}, {0, 5, 4}, {1, 5, 5}});
}

array_ptr shaped(array_ptr array, std::initializer_list<kvSize> dims) {
    EXPECT_EQ(api::ndSetDimensions(array.get(), std::data(dims), dims.size()), 0);
    return array;
}

array_ptr two_by_three_by_two() { return shaped(two_by_six(), {2, 3, 2}); }

// With the dimensions that its blocks were made for.
array_ptr as_matrix(array_ptr array) { return shaped(std::move(array), {2, columns}); }

TEST_F(FoldedSparse, StoreAsMuchAsTheirColumns) {
    EXPECT_EQ(api::ndGetNumNonZeroEl(two_by_three_by_two().get()), 5u);
    EXPECT_EQ(api::ndGetNumNonZeroEl(shaped(two_by_six(), {2, 1, 2, 3}).get()), 5u);
    EXPECT_EQ(api::ndGetNumberOfBytes(two_by_three_by_two().get(), nullptr),
              api::ndGetNumberOfBytes(two_by_six().get(), nullptr));
}

TEST_F(FoldedSparse, AreSearchedByTheirColumns) {
    const array_ptr folded = two_by_three_by_two();
    const array_ptr matrix = two_by_six();
    for (kvIndex column = 0; column < columns; ++column) {
        for (const kvIndex row : {0, 1})
            EXPECT_EQ(matrix::find_sparse_k(folded.get(), row, column),
                      matrix::find_sparse_k(matrix.get(), row, column))
                << row << ", " << column;
    }
    EXPECT_EQ(matrix::find_sparse_k(folded.get(), 0, columns), 5u);
    EXPECT_ANY_THROW(matrix::find_sparse_k(folded.get(), 1, columns));
    EXPECT_ANY_THROW(matrix::find_sparse_k(folded.get(), 2, 0));
}

TEST_F(FoldedSparse, AreCopiedWithAllTheirColumns) {
    array_ptr copy = matrix::detail::do_deep_copy(two_by_three_by_two().get());
    EXPECT_EQ(indices(api::ndGetJc(copy.get()), api::ndGetJc(copy.get()) + columns + 1), starts);
    EXPECT_THAT(as_matrix(std::move(copy)), EqualsArray(two_by_six()));
    const array_ptr source = two_by_three_by_two();
    array_ptr sharer = matrix::detail::do_shared_copy(source.get());
    auto* const rows = static_cast<kvIndex*>(api::ndMallocEx(5 * sizeof(kvIndex)));
    std::copy_n(api::ndGetIr(source.get()), 5, rows);
    kvIndex* const shared = api::ndGetIr(sharer.get());
    api::ndSetIr(sharer.get(), rows); // gets it blocks of its own
    EXPECT_EQ(api::ndGetIr(source.get()), shared);
    EXPECT_THAT(as_matrix(std::move(sharer)), EqualsArray(two_by_six()));
}

TEST_F(FoldedSparse, GetImaginaryPartsForAllTheyStore) {
    array_ptr folded = two_by_three_by_two();
    api::ndInflateRealToComplex(folded.get());
    EXPECT_THAT(as_matrix(std::move(folded)),
                EqualsArray(sparse_arr("complex double 2x6",
                                       {{0, 0, 1}, {1, 2, 2}, {0, 3, 3}, {0, 5, 4}, {1, 5, 5}})));
}

TEST_F(FoldedSparse, BecomeFullInTheirShape) {
    EXPECT_THAT(matrix::convert_to_full_if_needed(two_by_three_by_two()),
                EqualsArray(arr("double 2x3x2", {1, 0, 0, 0, 0, 2, 3, 0, 0, 0, 4, 5})));
    EXPECT_THAT(
        matrix::create_converted_copy(two_by_three_by_two().get(), ndLOGICAL_CLASS),
        EqualsArray(sparse_arr("logical 2x6", {{0, 0, 1}, {1, 2, 1}, {0, 3, 1}, {0, 5, 1}, {1, 5, 1}})));
}

// What was stored stands in no row any more.
TEST_F(FoldedSparse, WithoutRowsHaveNoElements) {
    EXPECT_THAT(matrix::convert_to_full_if_needed(shaped(two_by_six(), {0, columns})),
                EqualsArray(arr("double 0x6")));
    EXPECT_THAT(matrix::create_converted_copy(shaped(two_by_six(), {0, columns}).get(), ndLOGICAL_CLASS),
                EqualsArray(sparse_arr("logical 0x6", {})));
}

} // namespace
} // namespace test
