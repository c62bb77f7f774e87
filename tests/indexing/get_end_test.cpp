// The value of "end" in subscripts.
#include "support/arr.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/colon.hpp>
#include <nd/structures.hpp>

namespace test {
namespace {

using matrix::detail::noninlined::nd_array_api::ndGetEnd;

using GetEnd = NdTest;

struct end_row {
    const char* x;
    std::size_t position;
    std::size_t nsubs;
    double end;
};

const end_row rows[] = {
    {"double 2x3", 1, 1, 6},    {"double 2x3", 1, 2, 2},   {"double 2x3", 2, 2, 3},
    {"double 2x3", 1, 3, 2},    {"double 2x3", 2, 3, 3},   {"double 2x3", 3, 3, 1},
    {"double 2x3", 3, 4, 1},    {"double 2x3", 9, 9, 1},   {"double 2x3x4", 2, 2, 12},
    {"double 2x3x4", 1, 1, 24}, {"double 2x3x4", 2, 3, 3}, {"double 2x3x4", 3, 3, 4},
    {"double 2x3x4", 1, 2, 2},  {"double 2x3x4", 4, 4, 1}, {"double 0x0", 1, 1, 0},
    {"double 0x0", 2, 2, 0},    {"double 0x0", 3, 3, 1},   {"double 0x3", 2, 2, 3},
    {"double 0x3", 1, 1, 0},    {"double 1x1", 1, 1, 1},   {"cell 2x2", 1, 1, 4},
    {"char 1x7", 1, 1, 7},      {"double 2x3x4", 2, 1, 3}, // beyond the subscripts: the dimension itself
    {"double 2x3", 0, 1, 1},
};

TEST_F(GetEnd, FollowsItsTable) {
    for (const end_row& row : rows) {
        SCOPED_TRACE(std::string(row.x) + ", subscript " + std::to_string(row.position) + " of " +
                     std::to_string(row.nsubs));
        for_each_variation(numbered(row.x), [&](matrix::array_ptr& x) {
            EXPECT_EQ(ndGetEnd(x.get(), row.position, row.nsubs), row.end);
        });
    }
}

TEST_F(GetEnd, CountsTheElementsOfAColonObject) {
    const matrix::array_ptr x = matrix::create_colon_object(3, 1, 9);
    EXPECT_EQ(ndGetEnd(x.get(), 1, 1), 7);
    EXPECT_EQ(ndGetEnd(x.get(), 1, 2), 1);
    EXPECT_EQ(ndGetEnd(x.get(), 2, 2), 7);
}

// A mark alone is no range.
TEST_F(GetEnd, IsThatOfTheDimensionsWithoutOperands) {
    const matrix::array_ptr x = matrix::create_colon_object(3, 1, 9);
    x->m_or_dims = 3;
    x->n_or_ndims = 1;
    EXPECT_EQ(ndGetEnd(x.get(), 1, 1), 3);
    EXPECT_EQ(ndGetEnd(x.get(), 1, 2), 3);
    EXPECT_EQ(ndGetEnd(x.get(), 2, 2), 1);
}

// Sizes whose product has no 64 bits.
TEST_F(GetEnd, MultipliesAsDoubles) {
    const matrix::array_ptr x = arr("double 0x0");
    const std::size_t dims[] = {0, std::size_t{1} << 40, std::size_t{1} << 40};
    x->set_dimensions(dims);
    EXPECT_EQ(ndGetEnd(x.get(), 2, 2), 0x1p80);
    EXPECT_EQ(ndGetEnd(x.get(), 1, 1), 0);
}

} // namespace
} // namespace test
