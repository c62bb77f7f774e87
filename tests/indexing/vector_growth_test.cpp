// Vectors and matrices that an engine lengthens without subscripts.
#include "indexing/raised_error.hpp"
#include "indexing/value_text.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/deletion.hpp>
#include <nd/share.hpp>
#include <nd/sizes.hpp>

#include <algorithm>
#include <array>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using VectorGrowth = NdTest;

bool lengthen(const array_ptr& x, std::size_t length, bool make_complex = false) {
    return api::ndResizeNumericVector(x.get(), api::ndGetM(x.get()), api::ndGetN(x.get()), length,
                                      make_complex);
}
bool lengthen_double(const array_ptr& x, std::size_t length, bool make_complex = false) {
    return api::ndResizeDoubleVector(x.get(), api::ndGetM(x.get()), api::ndGetN(x.get()), length,
                                     make_complex);
}

struct length_row {
    const char* x;
    std::size_t length;
    bool fits;
    const char* after;
};

const length_row length_rows[] = {
    {"double 0x0", 3, true, "double 1x3 {0, 0, 0}"},
    {"double 0x5", 3, true, "double 1x3 {0, 0, 0}"},
    {"double 0x5", 7, true, "double 1x7 {0, 0, 0, 0, 0, 0, 0}"},
    {"double 1x0", 2, true, "double 1x2 {0, 0}"},
    {"double 5x0", 2, false, "double 5x0"},
    {"double 1x1", 3, true, "double 1x3 {1, 0, 0}"},
    {"double 1x3", 5, true, "double 1x5 {1, 2, 3, 0, 0}"},
    {"double 3x1", 5, true, "double 5x1 {1, 2, 3, 0, 0}"},
    {"double 1x1x3", 4, true, "double 1x4 {1, 2, 3, 0}"},
    {"double 2x2", 5, false, "double 2x2 {1, 2, 3, 4}"},
    {"double 2x2", 4, true, "double 2x2 {1, 2, 3, 4}"}, // long enough, whatever its shape
    {"double 2x2", 0, true, "double 2x2 {1, 2, 3, 4}"},
    {"double 1x3", 2, true, "double 1x3 {1, 2, 3}"},
    {"double 0x0", 0, true, "double 0x0"},
    {"double 2x3x1", 7, false, "double 2x3 {1, 2, 3, 4, 5, 6}"},
};

TEST_F(VectorGrowth, FollowsItsTable) {
    for (const length_row& row : length_rows) {
        SCOPED_TRACE(std::string(row.x) + " to " + std::to_string(row.length));
        for (const auto grow : {lengthen, lengthen_double}) {
            const array_ptr x = numbered(row.x);
            EXPECT_EQ(grow(x, row.length, false), row.fits);
            EXPECT_EQ(value_text(x), row.after);
        }
    }
}

TEST_F(VectorGrowth, TakesTheClassesOfNumbersAndChar) {
    for_each_class(class_set::all, [](const class_case& c) {
        const bool grows = c.id == ndCHAR_CLASS || (c.id >= ndDOUBLE_CLASS && c.id <= ndUINT64_CLASS);
        const std::size_t dims[] = {1, 2};
        const array_ptr x = c.id == ndSTRUCT_CLASS || c.id == ndOBJECT_CLASS
                                ? struct_arr("1x2", {"a"})
                                : matrix::create(dims, c.id, ndREAL);
        const snapshot before(x.get());
        EXPECT_EQ(lengthen(x, 3), grows);
        EXPECT_EQ(api::ndGetNumberOfElements(x.get()), grows ? 3u : 2u);
        if (!grows) {
            EXPECT_EQ(before.difference(), "");
        }
    });
    for_each_class(class_set::numeric, [](const class_case& c) {
        const std::size_t two[] = {2, 1};
        const array_ptr x = numbered(c.id, c.complexity, two);
        EXPECT_TRUE(lengthen(x, 3, true));
        EXPECT_TRUE(api::ndIsComplex(x.get()));
        const array_ptr three =
            arr("complex " + std::string(api::ndGetClassName(x.get())) + " 3x1",
                {{1, c.complexity == ndCOMPLEX ? 21 : 0}, {2, c.complexity == ndCOMPLEX ? 22 : 0}, {0, 0}});
        EXPECT_THAT(x, EqualsArray(three.get()));
    });
    const array_ptr text = arr("char", u"ab");
    EXPECT_TRUE(lengthen(text, 3, true));
    EXPECT_FALSE(api::ndIsComplex(text.get()));
}

TEST_F(VectorGrowth, MakesComplexAlsoWhereNothingGrows) {
    const array_ptr row = numbered("double 1x2");
    EXPECT_TRUE(lengthen_double(row, 1, true));
    EXPECT_THAT(row, EqualsArray(arr("complex double 1x2", {{1, 0}, {2, 0}})));
    const array_ptr matrix = numbered("double 2x2");
    EXPECT_FALSE(lengthen_double(matrix, 9, true));
    EXPECT_TRUE(api::ndIsComplex(matrix.get()));
}

TEST_F(VectorGrowth, KeepsRoomToSpareFromTheSecondTimeOn) {
    const array_ptr x = arr("double 0x0");
    EXPECT_TRUE(lengthen_double(x, 300));
    EXPECT_FALSE((x->flags & matrix::flag_capacity_tracked) != 0) << "the first growth is exact";
    EXPECT_TRUE(lengthen_double(x, 301));
    ASSERT_TRUE((x->flags & matrix::flag_capacity_tracked) != 0);
    const void* const block = x->pdata;
    for (std::size_t length = 302; length <= 512; ++length) {
        static_cast<double*>(x->pdata)[length - 1] = 7; // what lies there isn't the array's
        ASSERT_TRUE(lengthen_double(x, length));
        ASSERT_EQ(static_cast<double*>(x->pdata)[length - 1], 0);
    }
    EXPECT_EQ(x->pdata, block);
    EXPECT_TRUE(lengthen_double(x, 513));
    EXPECT_NE(x->pdata, block);
}

TEST_F(VectorGrowth, EndsTheLiteralBracket) {
    const array_ptr x = arr("double 0x0");
    x->flags |= matrix::flag_empty_square_bracket;
    EXPECT_TRUE(lengthen_double(x, 0));
    EXPECT_NE(x->flags & matrix::flag_empty_square_bracket, 0u);
    EXPECT_TRUE(lengthen_double(x, 1));
    EXPECT_EQ(x->flags & matrix::flag_empty_square_bracket, 0u);
    EXPECT_NE(x->flags & matrix::flag_scalar_double, 0u);
}

struct matrix_row {
    const char* x;
    std::size_t m;
    std::size_t n;
    const char* after;
};

const matrix_row matrix_rows[] = {
    {"double 2x2", 2, 2, "double 2x2 {1, 2, 3, 4}"},
    {"double 2x2", 1, 0, "double 2x2 {1, 2, 3, 4}"},
    {"double 2x2", 3, 2, "double 3x2 {1, 2, 0, 3, 4, 0}"},
    {"double 2x2", 2, 3, "double 2x3 {1, 2, 3, 4, 0, 0}"},
    {"double 2x2", 3, 3, "double 3x3 {1, 2, 0, 3, 4, 0, 0, 0, 0}"},
    {"double 2x2", 3, 1, "double 3x2 {1, 2, 0, 3, 4, 0}"},
    {"double 0x3", 2, 1, "double 2x3 {0, 0, 0, 0, 0, 0}"},
    {"double 0x0", 1, 2, "double 1x2 {0, 0}"},
    {"double 1x1", 2, 2, "double 2x2 {1, 0, 0, 0}"},
    {"double 3x0", 3, 2, "double 3x2 {0, 0, 0, 0, 0, 0}"},
    {"double 0x3", 0, 5, "double 0x5"},
};

TEST_F(VectorGrowth, OfMatricesFollowsItsTable) {
    for (const matrix_row& row : matrix_rows) {
        SCOPED_TRACE(std::string(row.x) + " to " + std::to_string(row.m) + "x" + std::to_string(row.n));
        const array_ptr x = numbered(row.x);
        api::ndResizeDoubleMatrix(x.get(), api::ndGetM(x.get()), api::ndGetN(x.get()), row.m, row.n, false);
        EXPECT_EQ(value_text(x), row.after);
    }
    const array_ptr x = numbered("double 2x2");
    api::ndResizeDoubleMatrix(x.get(), 2, 2, 3, 1, true);
    EXPECT_THAT(x, EqualsArray(arr("complex double 3x2", {{1, 0}, {2, 0}, {0, 0}, {3, 0}, {4, 0}, {0, 0}})));
    const array_ptr same = numbered("double 1x2");
    api::ndResizeDoubleMatrix(same.get(), 1, 2, 1, 1, true);
    EXPECT_THAT(same, EqualsArray(arr("complex double 1x2", {{1, 0}, {2, 0}})));
}

TEST_F(VectorGrowth, MovesTheElementsOfAMatrixWithinItsRoom) {
    const array_ptr x = numbered("double 20x20");
    const auto grow = [&](std::size_t m, std::size_t n) {
        api::ndResizeDoubleMatrix(x.get(), api::ndGetM(x.get()), api::ndGetN(x.get()), m, n, false);
    };
    grow(20, 21);
    const void* const block = x->pdata;
    grow(22, 23);
    EXPECT_EQ(x->pdata, block) << "506 elements fit into 512";
    const auto* const elements = static_cast<const double*>(x->pdata);
    for (std::size_t j = 0; j < 23; ++j)
        for (std::size_t i = 0; i < 22; ++i)
            ASSERT_EQ(elements[j * 22 + i],
                      i < 20 && j < 20 ? static_cast<double>((j * 20 + i) % 100 + 1) : 0);
}

TEST_F(VectorGrowth, RefusesSizesBeyondTheCeiling) {
    const std::size_t beyond = std::size_t{1} << 46;
    for (const bool make_complex : {false, true}) {
        const array_ptr x = numbered("double 1x3");
        const snapshot before(x.get());
        const std::string error = "TARVEL:pmaxsize pmaxsize()";
        EXPECT_EQ(error_of([&] { lengthen_double(x, beyond, make_complex); }), error);
        EXPECT_EQ(error_of([&] { lengthen(x, beyond, make_complex); }), error);
        EXPECT_EQ(error_of([&] { api::ndResizeDoubleMatrix(x.get(), 1, 3, 1, beyond, make_complex); }),
                  error);
        EXPECT_EQ(before.difference(), "");
    }
}

// Their blocks hold something else than the elements that the dimensions tell.
TEST_F(VectorGrowth, RefusesWhatIsntLaidOutInFull) {
    const auto sparse = [] { return sparse_arr("double 1000x1", {{1, 0, 2.5}}); };
    const auto range = [] { return matrix::create_colon_object(1, 1, 9); };
    const auto cell = [] { return arr("cell 1x2", nullptr, arr("double", {1})); };
    for (const array_ptr& x : {sparse(), range(), cell()}) {
        for (const bool make_complex : {false, true}) {
            const snapshot before(x.get());
            EXPECT_FALSE(lengthen_double(x, 2000, make_complex));
            EXPECT_FALSE(lengthen(x, 2000, make_complex));
            EXPECT_EQ(error_of([&] {
                          api::ndResizeDoubleMatrix(x.get(), api::ndGetM(x.get()), api::ndGetN(x.get()), 2000,
                                                    2, make_complex);
                      }),
                      "TARVEL:invalidInput invalidInput()");
            EXPECT_EQ(before.difference(), "");
        }
    }
}

TEST_F(VectorGrowth, KeepsImaginaryPartsWithinItsRoom) {
    const array_ptr x = numbered(ndDOUBLE_CLASS, ndCOMPLEX, std::array<std::size_t, 2>{1, 300});
    EXPECT_TRUE(lengthen_double(x, 301));
    const void* const block = x->pdata;
    const array_ptr before = matrix::detail::do_deep_copy(x.get());
    EXPECT_TRUE(lengthen_double(x, 400, true));
    EXPECT_EQ(x->pdata, block) << "400 elements fit into 512";
    const auto* const parts = static_cast<const double*>(x->pdata);
    EXPECT_TRUE(std::equal(parts, parts + 602, static_cast<const double*>(before->pdata)));
    EXPECT_TRUE(std::all_of(parts + 602, parts + 800, [](double part) { return part == 0; }));
}

TEST_F(VectorGrowth, RefusesSizesBeyondTheLimitOfTheUser) {
    const array_ptr x = numbered("double 1x3");
    const snapshot before(x.get());
    const std::size_t beyond = std::size_t{1} << 43;
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(true);
    EXPECT_THROW(lengthen_double(x, beyond), matrix::internal::SizeLimitExceeded);
    EXPECT_THROW(lengthen(x, beyond, true), matrix::internal::SizeLimitExceeded);
    EXPECT_THROW(api::ndResizeDoubleMatrix(x.get(), 1, 3, 1, beyond, false),
                 matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
    EXPECT_EQ(before.difference(), "");
}

TEST_F(VectorGrowth, LeavesTheArrayAsItIsWithoutMemory) {
    for (const bool make_complex : {false, true}) {
        for_each_failing_alloc("growth of a vector", [&](fault_run& run) {
            const array_ptr x = numbered("single 1x300");
            run.operand(x.get());
            run.act([&] { return lengthen(x, 400, make_complex); });
        });
        for_each_failing_alloc("growth of a matrix", [&](fault_run& run) {
            const array_ptr x = numbered("double 20x20");
            run.operand(x.get());
            run.act([&] { api::ndResizeDoubleMatrix(x.get(), 20, 20, 21, 21, make_complex); });
        });
    }
}

} // namespace
} // namespace test
