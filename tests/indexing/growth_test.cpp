// Growth of left sides: when, which shape, which block.
#include "indexing/growth.hpp"

#include "indexing/assignment_support.hpp"
#include "matrix/heap_watch.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/sizes.hpp>

#include <algorithm>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::dims_list;
using matrix::internal::grow_dimensions;
using matrix::internal::grow_left_side;
using matrix::internal::shape_after_growth;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using Growth = NdTest;

const std::string ambiguous = "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()";

struct growth_row {
    sizes dims;
    sizes reach; // of each subscript
    sizes seen;  // afterwards; empty: refused
    bool grows;
    bool all_zero = false;
    sizes shape{};
};

const growth_row rows[] = {
    {{2, 3}, {6}, {6}, false},
    {{2, 3}, {2, 3}, {2, 3}, false},
    {{2, 3}, {0, 0}, {2, 3}, false},
    {{2, 3}, {7}, {}, true},
    {{2, 3}, {3, 1}, {3, 3}, true, false, {3, 3}},
    {{2, 3}, {1, 4}, {2, 4}, true, false, {2, 4}},
    {{2, 3}, {1, 1, 2}, {2, 3, 2}, true, false, {2, 3, 2}},
    {{2, 3, 4}, {24}, {24}, false},
    {{2, 3, 4}, {25}, {}, true},
    {{2, 3, 4}, {2, 13}, {}, true},
    {{2, 3, 4}, {5, 12}, {5, 12}, true, false, {5, 3, 4}},
    {{2, 3, 4}, {5, 13}, {}, true},
    {{1, 1}, {4}, {4}, true, false, {1, 4}},
    {{1, 5}, {7}, {7}, true, false, {1, 7}},
    {{5, 1}, {7}, {7}, true, false, {7, 1}},
    {{1, 1, 5}, {7}, {7}, true, false, {1, 1, 7}},
    {{1, 1, 5}, {1, 6}, {}, true},
    {{1, 1, 5}, {2, 5}, {2, 5}, true, false, {2, 1, 5}},
    {{1, 2, 2}, {5}, {}, true},
    {{0, 3}, {2}, {2}, true, false, {1, 2}},
    {{3, 0}, {1}, {1}, true, false, {1, 1}},
    {{1, 0}, {4}, {4}, true, false, {1, 4}},
    {{0, 1}, {4}, {4}, true, false, {4, 1}},
    {{0, 1}, {1}, {1}, true, false, {1, 1}},
    {{0, 0}, {4}, {4}, true, true, {1, 4}},
    {{0, 0}, {3, 2}, {3, 2}, true, true, {3, 2}},
    {{0, 0, 0}, {1}, {}, true, true},
    {{0, 0, 0}, {3, 0}, {3, 0}, true, true, {3, 0, 0}},
    {{0, 0, 0}, {3, 2, 1}, {3, 2, 1}, true, true, {3, 2, 1}},
};

dims_list seen_before(const growth_row& row) {
    return row.all_zero ? dims_list(row.reach.size())
                        : matrix::internal::folded_dimensions(row.dims, row.reach.size());
}

TEST_F(Growth, GoesByWhereTheSubscriptsReach) {
    for (const growth_row& row : rows) {
        dims_list seen = seen_before(row);
        SCOPED_TRACE(::testing::PrintToString(row.dims) + ::testing::PrintToString(row.reach));
        bool grows = false;
        const std::string error = error_of([&] { grows = grow_dimensions(row.dims, row.reach, seen); });
        if (row.seen.empty()) {
            EXPECT_EQ(error, ambiguous);
            EXPECT_EQ(seen, seen_before(row));
            EXPECT_TRUE(grow_dimensions(row.dims, row.reach, seen, true));
            continue;
        }
        EXPECT_EQ(error, "");
        EXPECT_EQ(grows, row.grows);
        EXPECT_EQ(sizes(seen.begin(), seen.end()), row.seen);
        if (!grows) continue;
        const dims_list shape = shape_after_growth(row.dims, seen, row.all_zero);
        EXPECT_EQ(sizes(shape.begin(), shape.end()), row.shape);
    }
}

TEST_F(Growth, GivesTheBlockAndTheDimensions) {
    for (const growth_row& row : rows) {
        if (row.seen.empty() || !row.grows) continue;
        SCOPED_TRACE(::testing::PrintToString(row.dims) + ::testing::PrintToString(row.reach));
        const array_ptr x = numbered(ndINT16_CLASS, ndREAL, row.dims);
        const std::int16_t filler = 77;
        const dims_list before = seen_before(row);
        grow_left_side(x.get(), {before, row.seen, row.all_zero, false, true, &filler});
        std::size_t filled = 0;
        const std::size_t count = api::ndGetNumberOfElements(x.get());
        for (std::size_t i = 0; i < count; ++i)
            filled += static_cast<std::size_t>(static_cast<std::int16_t*>(x->pdata)[i] == filler);
        std::size_t old_count = 1;
        for (const std::size_t dim : row.dims) old_count *= dim;
        EXPECT_EQ(filled, count - old_count);
        const auto dims = matrix::internal::dims_of(x.get());
        const auto expected = matrix::internal::without_trailing_ones(row.shape);
        EXPECT_EQ(sizes(dims.begin(), dims.end()), sizes(expected.begin(), expected.end()));
    }
}

TEST_F(Growth, OfStructsKeepsTheFieldsTogether) {
    const array_ptr s = struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("double", {2}),
                                   arr("double", {3}), arr("double", {4}));
    grow_left_side(s.get(), {sizes{2, 1, 2}, sizes{2, 2, 2}, false, true});
    EXPECT_THAT(s,
                EqualsArray(struct_arr("2x2", {"a", "b"}, arr("double", {1}), arr("double", {2}), nullptr,
                                       nullptr, arr("double", {3}), arr("double", {4}), nullptr, nullptr)));
}

// The data of a block that isn't kept in shape stay where they are: nothing is lost or left undefined.
TEST_F(Growth, WithoutKeepingPositionsTheElementsStayInOrder) {
    const array_ptr c =
        arr("cell 2x2", arr("double", {1}), arr("double", {2}), arr("double", {3}), arr("double", {4}));
    grow_left_side(c.get(), {sizes{2, 2}, sizes{3, 2}, false, false, false});
    EXPECT_THAT(c, EqualsArray(arr("cell 3x2", arr("double", {1}), arr("double", {2}), arr("double", {3}),
                                   arr("double", {4}), nullptr, nullptr)));
}

TEST_F(Growth, OfAFunctionHandleBeyondOneElementIsRefused) {
    const array_ptr f = matrix::create(sizes{1, 1}, ndFUNCTION_CLASS, ndREAL);
    EXPECT_EQ(error_of([&] {
                  grow_left_side(f.get(), {sizes{1}, sizes{2}});
              }),
              "TARVEL:err_non_scalar_function_handles err_non_scalar_function_handles()");
    const array_ptr none = matrix::create(sizes{0, 0}, ndFUNCTION_CLASS, ndREAL);
    grow_left_side(none.get(), {sizes{0}, sizes{1}, true});
    EXPECT_EQ(api::ndGetNumberOfElements(none.get()), 1U);
}

TEST_F(Growth, BeyondTheLimitsIsRefusedBeforeAnythingIsAllocated) {
    const array_ptr x = arr("double 1x2", {1, 2});
    const heap_watch heap;
    EXPECT_EQ(error_of([&] {
                  grow_left_side(x.get(), {sizes{2}, sizes{std::size_t{1} << 46}});
              }),
              "TARVEL:pmaxsize pmaxsize()");
    EXPECT_TRUE(heap.requests().empty());
    EXPECT_THAT(x, EqualsArray(arr("double 1x2", {1, 2})));
}

// x = zeros(1,300); x(301) = 1: room for 512, which lasts for the 211 elements that follow.
TEST_F(Growth, OfAVectorLeavesRoomToSpare) {
    const array_ptr x = arr("double 1x300");
    assign(x.get(), {"301"}, arr("double", {1}).get());
    EXPECT_NE(x->flags & matrix::flag_capacity_tracked, 0U);
    const void* const block = x->pdata;
    for (kvIndex next = 301; next < 512; ++next) {
        const std::string text = std::to_string(next + 1);
        if (next % 2 == 0) {
            assign(x.get(), {text.c_str()}, arr("double", {1}).get());
        } else {
            api::ndScalarSubscriptedAssignment(x.get(), &next, 1, 1.0);
        }
        ASSERT_EQ(x->pdata, block);
    }
    EXPECT_EQ(api::ndGetN(x.get()), 512U);
    const kvIndex next = 512;
    api::ndScalarSubscriptedAssignment(x.get(), &next, 1, 1.0);
    EXPECT_NE(x->pdata, block);
    EXPECT_EQ(api::ndGetN(x.get()), 513U);
    EXPECT_EQ(static_cast<const double*>(x->pdata)[512], 1.0);
    EXPECT_EQ(static_cast<const double*>(x->pdata)[299], 0.0);
}

TEST_F(Growth, TheFirstOfAnEmptyArrayIsExact) {
    const array_ptr x = arr("double 0x0");
    const heap_watch heap;
    const kvIndex at = 399;
    api::ndScalarSubscriptedAssignment(x.get(), &at, 1, 1.0);
    ASSERT_EQ(heap.requests().size(), 1U);
    EXPECT_EQ(heap.requests()[0], (heap_request{heap_request::slot::calloc, 400, 8}));
    EXPECT_EQ(x->flags & matrix::flag_capacity_tracked, 0U);
}

TEST_F(Growth, OfAMatrixByColumnsMovesNothing) {
    array_ptr x = numbered("double 20x20");
    assign(x.get(), {":", "21"}, numbered("double 20x1").get());
    ASSERT_NE(x->flags & matrix::flag_capacity_tracked, 0U);
    const void* const block = x->pdata;
    assign(x.get(), {":", "22"}, numbered("double 20x1").get());
    EXPECT_EQ(x->pdata, block);
    assign(x.get(), {"21", ":"}, numbered("double 1x22").get());
    EXPECT_EQ(x->pdata, block); // 462 of 512: the columns move within
    const double* const data = static_cast<const double*>(x->pdata);
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data[20], 1);
    EXPECT_EQ(data[21], 21);
    EXPECT_EQ(data[21 * 20], 1);
    EXPECT_EQ(data[21 * 22 - 1], 22);
}

struct capacity_row {
    kvSize count;
    kvSize capacity;
};
const capacity_row capacity_rows[] = {{0, 0},
                                      {1, 1},
                                      {256, 256},
                                      {257, 512},
                                      {512, 512},
                                      {513, 1024},
                                      {0x7ffffff, 0x8000000},
                                      {0x8000000, 0x8000000},
                                      {0x8000001, 0x10000000},
                                      {0x10000000, 0x10000000},
                                      {0xffffffffffff, 0xffffffffffff},
                                      {0x1000000000000, 0x1000000000000}};

TEST_F(Growth, CapacityOfACount) {
    for (const capacity_row& row : capacity_rows)
        EXPECT_EQ(api::ndGetCapacity(row.count), row.capacity) << row.count;
}

std::size_t blocks_asked_for(const heap_watch& heap) {
    constexpr std::size_t more_than_a_position = 64;
    return static_cast<std::size_t>(
        std::count_if(heap.requests().begin(), heap.requests().end(), [](const heap_request& request) {
            return request.count * request.size > more_than_a_position;
        }));
}

// One block for each of the first 256 elements, then one each time that the number doubles.
TEST_F(Growth, OfVectorsCellsAndStructsIsAmortised) {
    const std::size_t appends = 5000;
    const array_ptr vectors[] = {arr("cell 0x0"), struct_arr("0x0", {"a", "b"}), arr("single 0x0")};
    const array_ptr ones[] = {arr("cell", arr("double", {1})),
                              struct_arr("1x1", {"a", "b"}, arr("double", {1}), nullptr), arr("single", {1})};
    const array_ptr position = arr("double", {1});
    const ndArray_tag* const subs[] = {position.get()};
    for (std::size_t k = 0; k < std::size(vectors); ++k) {
        const heap_watch heap;
        for (std::size_t i = 1; i <= appends; ++i) {
            *static_cast<double*>(position->pdata) = static_cast<double>(i);
            api::ndSubscriptedAssignment(vectors[k].get(), 1, subs, ones[k].get());
        }
        EXPECT_LT(blocks_asked_for(heap), 270U);
        EXPECT_EQ(api::ndGetNumberOfElements(vectors[k].get()), appends);
    }
    const array_ptr x = arr("double 0x0");
    const heap_watch heap;
    for (kvIndex i = 0; i < appends; ++i) api::ndScalarSubscriptedAssignment(x.get(), &i, 1, 1.0);
    EXPECT_LT(blocks_asked_for(heap), 270U);
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), appends);
}

} // namespace
} // namespace test
