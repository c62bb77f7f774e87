// Other dimensions for an array: what stays where, what goes, what is new.
#include "indexing/assignment_support.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/classes.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/scalars.hpp>
#include <nd/sizes.hpp>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using ResizeArray = NdTest;

struct resize_row {
    value x;
    sizes dims;
    value result;
};

const resize_row rows[] = {
    {{"double 2x2", {1, 2, 3, 4}}, {4, 1}, {"double 2x2", {1, 2, 3, 4}}},
    {{"double 2x2", {1, 2, 3, 4}}, {2, 2}, {"double 2x2", {1, 2, 3, 4}}},
    {{"double 2x2", {1, 2, 3, 4}}, {3, 3}, {"double 3x3", {1, 2, 0, 3, 4, 0, 0, 0, 0}}},
    {{"int8 2x2", {1, 2, 3, 4}}, {3, 2, 2}, {"int8 3x2x2", {1, 2, 0, 3, 4, 0, 0, 0, 0, 0, 0, 0}}},
    {{"double 1x3", {1, 2, 3}}, {1, 5}, {"double 1x5", {1, 2, 3, 0, 0}}},
    {{"double 3x1", {1, 2, 3}}, {1, 5}, {"double 5x1", {1, 2, 3, 0, 0}}},
    {{"double 3x1", {1, 2, 3}}, {5}, {"double 5x1", {1, 2, 3, 0, 0}}},
    {{"double 2x2", {1, 2, 3, 4}}, {1, 6}, {"double 1x6", {1, 2, 3, 4, 0, 0}}},
    {{"double 2x2", {1, 2, 3, 4}}, {3, 1}, {"double 1x3", {1, 2, 3}}},
    {{"double 1x5", {1, 2, 3, 4, 5}}, {1, 2}, {"double 1x2", {1, 2}}},
    {{"double 1x5", {1, 2, 3, 4, 5}}, {1, 0}, {"double 1x0"}},
    {{"double 2x2", {1, 2, 3, 4}}, {1, 1}, {"double", {1}}},
    {{"double 2x2", {1, 2, 3, 4}}, {}, {"double 0x0"}},
    {{"double 2x2", {1, 2, 3, 4}}, {0, 2}, {"double 0x2"}},
    {{"double 3x3", {1, 2, 3, 4, 5, 6, 7, 8, 9}}, {2, 2}, {"double 2x2", {1, 2, 4, 5}}},
    {{"double 3x3", {1, 2, 3, 4, 5, 6, 7, 8, 9}}, {2, 4}, {"double 2x4", {1, 2, 4, 5, 7, 8, 0, 0}}},
    {{"double 3x3", {1, 2, 3, 4, 5, 6, 7, 8, 9}}, {4, 1, 2}, {"double 4x1x2", {1, 2, 3, 0, 0, 0, 0, 0}}},
    {{"double 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}},
     {3, 4},
     {"double 3x2x2", {1, 2, 0, 3, 4, 0, 5, 6, 0, 7, 8, 0}}},
    {{"double 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}}, {2, 5}, {"double 2x5", {1, 2, 3, 4, 5, 6, 7, 8, 0, 0}}},
    {{"double 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}}, {2, 3}, {"double 2x3", {1, 2, 3, 4, 5, 6}}},
    {{"double 0x0"}, {2, 2}, {"double 2x2"}},
    {{"complex single 1x2", {{1, 2}, {3, 4}}},
     {2, 2},
     {"complex single 2x2", {{1, 2}, {0, 0}, {3, 4}, {0, 0}}}},
};

TEST_F(ResizeArray, ElementsKeepTheirPositions) {
    for (const resize_row& row : rows) {
        SCOPED_TRACE(std::string(row.x.description) + " to " + ::testing::PrintToString(row.dims));
        const array_ptr x = row.x.make();
        api::ndResizeArray(x.get(), row.dims.size(), row.dims.data());
        EXPECT_THAT(x, EqualsArray(row.result.make()));
        EXPECT_EQ(matrix::internal::validate(x.get()), "");
    }
}

// An assignment to what is no literal any more doesn't give way.
TEST_F(ResizeArray, ALiteralThatGetsElementsIsNoneAnyMore) {
    struct literal_row {
        const char* literal;
        sizes dims;
        const char* result;
    };
    const literal_row literal_rows[] = {{"double 0x0", {2, 2}, "double 2x2"},
                                        {"double 0x0", {1, 4}, "double 1x4"},
                                        {"double 0x3", {2, 2}, "double 2x2"}};
    for (const literal_row& row : literal_rows) {
        SCOPED_TRACE(std::string(row.literal) + " to " + ::testing::PrintToString(row.dims));
        const array_ptr x = arr(row.literal);
        x->flags |= matrix::flag_empty_square_bracket;
        api::ndResizeArray(x.get(), row.dims.size(), row.dims.data());
        EXPECT_EQ(x->flags & matrix::flag_empty_square_bracket, 0U);
        assign(x.get(), {"2"}, arr("double", {7}).get());
        const array_ptr result = arr(row.result);
        static_cast<double*>(result->pdata)[1] = 7;
        EXPECT_THAT(x, EqualsArray(result.get()));
    }
}

TEST_F(ResizeArray, GrowthKeepsRoomAndShrinkingIsExact) {
    const array_ptr x = numbered("double 1x300");
    const sizes longer{1, 301};
    api::ndResizeArray(x.get(), 2, longer.data());
    EXPECT_NE(x->flags & matrix::flag_capacity_tracked, 0U);
    const heap_watch heap;
    const sizes shorter{1, 299};
    api::ndResizeArray(x.get(), 2, shorter.data());
    EXPECT_EQ(x->flags & matrix::flag_capacity_tracked, 0U);
    ASSERT_EQ(heap.requests().size(), 1U);
    EXPECT_EQ(heap.requests()[0].count * heap.requests()[0].size, 299 * sizeof(double));
    EXPECT_THAT(x, EqualsArray(numbered("double 1x299")));
}

TEST_F(ResizeArray, WhatHasNoPlaceIsDestroyed) {
    const array_ptr c =
        arr("cell 2x2", arr("double", {1}), arr("cell", arr("double", {2})), arr("double", {3}), nullptr);
    const sizes one_row{1, 3};
    api::ndResizeArray(c.get(), 2, one_row.data());
    EXPECT_THAT(c, EqualsArray(arr("cell 1x3", arr("double", {1}), arr("cell", arr("double", {2})),
                                   arr("double", {3}))));
    const sizes matrix{2, 2};
    api::ndResizeArray(c.get(), 2, matrix.data());
    EXPECT_THAT(c, EqualsArray(arr("cell 2x2", arr("double", {1}), nullptr, arr("cell", arr("double", {2})),
                                   nullptr)));
    const array_ptr s = struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("double", {2}),
                                   arr("double", {3}), arr("double", {4}));
    const sizes one{1, 1};
    api::ndResizeArray(s.get(), 2, one.data());
    EXPECT_THAT(s, EqualsArray(struct_arr("1x1", {"a", "b"}, arr("double", {1}), arr("double", {2}))));
    const sizes more{2, 2};
    api::ndResizeArray(s.get(), 2, more.data());
    EXPECT_THAT(s, EqualsArray(struct_arr("2x2", {"a", "b"}, arr("double", {1}), arr("double", {2}), nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr)));
}

TEST_F(ResizeArray, WhatItCantResizeIsRefused) {
    const sizes two{1, 2};
    const sizes none{0, 0};
    const array_ptr f = matrix::create(sizes{1, 1}, ndFUNCTION_CLASS, ndREAL);
    const std::string function_error =
        "TARVEL:err_non_scalar_function_handles err_non_scalar_function_handles()";
    EXPECT_EQ(error_of([&] { api::ndResizeArray(f.get(), 2, two.data()); }), function_error);
    EXPECT_EQ(error_of([&] { api::ndResizeArray(f.get(), 2, none.data()); }), function_error);
    const array_ptr sparse = sparse_arr("double 2x2", {{0, 0, 1}});
    EXPECT_EQ(error_of([&] { api::ndResizeArray(sparse.get(), 2, two.data()); }),
              "TARVEL:invalidInput invalidInput()");
    const array_ptr x = arr("double 1x2", {1, 2});
    const sizes huge{std::size_t{1} << 40, std::size_t{1} << 40};
    EXPECT_EQ(error_of([&] { api::ndResizeArray(x.get(), 2, huge.data()); }), "TARVEL:pmaxsize pmaxsize()");
    EXPECT_THAT(x, EqualsArray(arr("double 1x2", {1, 2})));
}

TEST_F(ResizeArray, AllShapesAreHeldToTheUsersLimit) {
    const size_limit_scope limit(800, 100);
    const array_ptr x = arr("double 2x2", {1, 2, 3, 4});
    const sizes too_large[] = {{1, 101}, {10, 11}, {1, 1, 101}, {1, 2, 51}};
    for (const sizes& dims : too_large)
        EXPECT_THROW(api::ndResizeArray(x.get(), dims.size(), dims.data()),
                     matrix::internal::SizeLimitExceeded);
    EXPECT_THAT(x, EqualsArray(arr("double 2x2", {1, 2, 3, 4})));
    const sizes fits{10, 10};
    api::ndResizeArray(x.get(), 2, fits.data());
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 100U);
}

TEST_F(ResizeArray, AHeaderBeginsAnewAsAnyClass) {
    for_each_class(class_set::all, [](const class_case& c) {
        for (const char* const before : {"double 2x3", "cell 1x2", "char 1x1", "double 2x2x2"}) {
            const array_ptr x = arr(before);
            x->flags |= matrix::flag_empty_square_bracket;
            api::ndReInitArray2Type(x.get(), static_cast<ndArrayType>(c.id));
            EXPECT_EQ(x->class_id, c.id);
            EXPECT_EQ(x->pdata, nullptr);
            EXPECT_EQ(x->m_or_dims, 1U);
            EXPECT_EQ(x->n_or_ndims, 1U);
            const std::uint32_t numeric = api::ndIsNumeric(x.get()) ? matrix::flag_numeric : 0U;
            const std::uint32_t scalar = c.id == ndDOUBLE_CLASS ? matrix::flag_scalar_double : 0U;
            EXPECT_EQ(x->flags, matrix::flag_inline_dims | numeric | scalar);
        }
    });
    const array_ptr x = arr("double 1x1");
    api::ndReInitArray2Type(x.get(), static_cast<ndArrayType>(ndSINGLE_CLASS + 32));
    EXPECT_TRUE(api::ndIsComplex(x.get()));
    for (const std::uint32_t no_type : {77U, 19U, ndCELL_CLASS + 32U}) {
        api::ndReInitArray2Type(x.get(), static_cast<ndArrayType>(no_type));
        EXPECT_EQ(x->class_id, ndUNKNOWN_CLASS);
        EXPECT_FALSE(api::ndIsComplex(x.get()));
    }
}

struct match_row {
    kvSize rows, columns, m, n;
    bool row_colon, column_colon;
    int result;
    kvSize rows_after, columns_after;
};
constexpr kvSize any = 77;
const match_row match_rows[] = {
    // a matrix
    {2, 3, 2, 3, false, false, 1, 2, 3},
    {2, 4, 2, 3, false, false, 0, 2, 4},
    {3, 3, 2, 3, false, false, 0, 3, 3},
    {any, 3, 2, 3, true, false, 1, 2, 3},
    {any, 4, 2, 3, true, false, 0, any, 4},
    {2, any, 2, 3, false, true, 1, 2, 3},
    {3, any, 2, 3, false, true, 0, 3, any},
    {any, any, 2, 3, true, true, 1, 2, 3},
    // a row
    {1, 4, 1, 4, false, false, 1, 1, 4},
    {4, 1, 1, 4, false, false, 1, 4, 1},
    {2, 2, 1, 4, false, false, 0, 2, 2},
    {any, 1, 1, 4, true, false, 1, 4, 1},
    {any, 4, 1, 4, true, false, 1, 1, 4},
    {any, 2, 1, 4, true, false, 0, any, 2},
    {1, any, 1, 4, false, true, 1, 1, 4},
    {4, any, 1, 4, false, true, 0, 4, any},
    // a column
    {any, 1, 4, 1, true, false, 1, 4, 1},
    {any, 4, 4, 1, true, false, 0, any, 4},
    {1, any, 4, 1, false, true, 1, 1, 4},
    {4, any, 4, 1, false, true, 1, 4, 1},
    {2, any, 4, 1, false, true, 0, 2, any},
    // a scalar
    {5, 6, 1, 1, false, false, 1, 5, 6},
    {any, 6, 1, 1, true, false, 1, 1, 6},
    {5, any, 1, 1, false, true, 1, 5, 1},
    {any, any, 1, 1, true, true, 1, 1, 1},
    // nothing
    {0, 3, 0, 3, false, false, 1, 0, 3},
    {any, 0, 3, 0, true, false, 1, 3, 0},
};

TEST_F(ResizeArray, TwoSubscriptsAgainstARightHandSide) {
    for (const match_row& row : match_rows) {
        kvSize r = row.rows;
        kvSize c = row.columns;
        EXPECT_EQ(
            api::ndMatch2DIndicesForIndexedAssignment(&r, &c, row.m, row.n, row.row_colon, row.column_colon),
            row.result);
        EXPECT_EQ(r, row.rows_after) << row.m << 'x' << row.n;
        EXPECT_EQ(c, row.columns_after) << row.m << 'x' << row.n;
    }
}

struct expansion_row {
    const char* lhs;
    std::vector<const char*> subs;
    const char* shape; ///< null: the value itself
};
const expansion_row expansion_rows[] = {
    {"double 2x3", {"1", "2"}, nullptr},
    {"double 2x3", {"1:2", "[1 3]"}, "2x2"},
    {"double 2x3", {":", "2"}, "2x1"},
    {"double 2x3", {":"}, "6x1"},
    {"double 2x3", {"[]", ":"}, "0x3"},
    {"double 2x3x2", {"1", ":"}, "1x6"},
    {"double 0x0", {":", ":"}, nullptr},
    {"double 0x0", {":", "1:3"}, "1x3"},
    {"double 0x0", {":"}, "0x1"},
    {"double 0x3", {":", "1"}, "0x1"},
    {"double 2x3", {"1", ":", "2:3"}, "1x3x2"},
    {"double 2x3", {"5:7"}, "3x1"},
};

TEST_F(ResizeArray, AStructElementAsOftenAsItIsNeeded) {
    for (const bool nested : {false, true}) {
        const auto element = [&] { return nested ? arr("cell", arr("double", {1})) : arr("double", {1}); };
        for (const expansion_row& row : expansion_rows) {
            SCOPED_TRACE(std::string(row.lhs) + ::testing::PrintToString(row.subs));
            const array_ptr value = struct_arr("1x1", {"a", "b"}, element(), nullptr);
            const array_ptr lhs = arr(row.lhs);
            const subscripts subs(row.subs);
            ndArray_tag* const result = api::ndScalarExpan(
                value.get(), lhs.get(), const_cast<ndArray_tag* const*>(subs.data()), subs.size());
            if (row.shape == nullptr) {
                EXPECT_EQ(result, value.get());
                continue;
            }
            keep(result);
            const std::string shape = row.shape;
            const array_ptr expected = struct_arr(shape, {"a", "b"});
            for (std::size_t i = 0; i < api::ndGetNumberOfElements(expected.get()); ++i)
                api::ndSetFieldByNumber(expected.get(), i, 0, element().release());
            EXPECT_THAT(result, EqualsArray(expected.get()));
        }
    }
}

TEST_F(ResizeArray, OnlyAStructElementIsRepeated) {
    const array_ptr x = arr("double", {1});
    const subscripts subs{"1:2"};
    EXPECT_EQ(error_of([&] {
                  api::ndScalarExpan(x.get(), x.get(), const_cast<ndArray_tag* const*>(subs.data()), 1);
              }),
              "TARVEL:invalidConversion invalidConversion(double, struct)");
    const subscripts bad{"1", "0"};
    const array_ptr s = struct_arr("1x1", {"a"}, nullptr);
    EXPECT_EQ(error_of([&] {
                  api::ndScalarExpan(s.get(), x.get(), const_cast<ndArray_tag* const*>(bad.data()), 2);
              }),
              "TARVEL:badsubscript badTypeIndices(2, , 0, 2)");
}

} // namespace
} // namespace test
