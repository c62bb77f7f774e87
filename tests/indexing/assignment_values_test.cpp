// Values stored through subscripts: which elements change, which shape the left side gets, and what is refused.
#include "indexing/assignment_support.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/process_state.hpp"
#include "matrix/size_limit.hpp"
#include "matrix/unshare.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/share.hpp>
#include <nd/sizes.hpp>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;

using AssignmentValues = NdTest;

const std::string mismatch = "TARVEL:subsassigndimmismatch subsassigndimmismatch()";
const std::string ambiguous = "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()";

struct assignment_row {
    const char* name;
    value lhs;
    std::vector<const char*> subs;
    value rhs;
    value result;
};

const value one_to_six{"double 2x3", {1, 2, 3, 4, 5, 6}};
const value scalar_nine{"double", {9}};

const assignment_row stored_rows[] = {
    {"element", one_to_six, {"2", "3"}, scalar_nine, {"double 2x3", {1, 2, 3, 4, 5, 9}}},
    {"linear index", one_to_six, {"3"}, scalar_nine, {"double 2x3", {1, 2, 9, 4, 5, 6}}},
    {"row", one_to_six, {"2", ":"}, {"double 1x3", {7, 8, 9}}, {"double 2x3", {1, 7, 3, 8, 5, 9}}},
    {"row from a column",
     one_to_six,
     {"2", ":"},
     {"double 3x1", {7, 8, 9}},
     {"double 2x3", {1, 7, 3, 8, 5, 9}}},
    {"column", one_to_six, {":", "2"}, {"double 2x1", {7, 8}}, {"double 2x3", {1, 2, 7, 8, 5, 6}}},
    {"columns", one_to_six, {":", "2:3"}, {"double 2x2", {6, 7, 8, 9}}, {"double 2x3", {1, 2, 6, 7, 8, 9}}},
    {"columns in any order",
     one_to_six,
     {":", "[3 1]"},
     {"double 2x2", {6, 7, 8, 9}},
     {"double 2x3", {8, 9, 3, 4, 6, 7}}},
    {"range downwards",
     one_to_six,
     {"6:-2:2"},
     {"double 1x3", {7, 8, 9}},
     {"double 2x3", {1, 9, 3, 8, 5, 7}}},
    {"range with a step", one_to_six, {"1:2:5"}, scalar_nine, {"double 2x3", {9, 2, 9, 4, 9, 6}}},
    {"block of a vector",
     {"double 1x5", {1, 2, 3, 4, 5}},
     {"2:4"},
     {"double 1x3", {7, 8, 9}},
     {"double 1x5", {1, 7, 8, 9, 5}}},
    {"the last of equal positions stays",
     one_to_six,
     {"[2 2 2]"},
     {"double 1x3", {7, 8, 9}},
     {"double 2x3", {1, 9, 3, 4, 5, 6}}},
    {"mask",
     one_to_six,
     {"logical [0 1 0 0 1 0]"},
     {"double 1x2", {8, 9}},
     {"double 2x3", {1, 8, 3, 4, 9, 6}}},
    {"all", one_to_six, {":"}, {"double 3x2", {6, 5, 4, 3, 2, 1}}, {"double 2x3", {6, 5, 4, 3, 2, 1}}},
    {"scalar to all", one_to_six, {":", ":"}, scalar_nine, {"double 2x3", {9, 9, 9, 9, 9, 9}}},
    {"more subscripts than dimensions",
     one_to_six,
     {"2", "2", "1", "1"},
     scalar_nine,
     {"double 2x3", {1, 2, 3, 9, 5, 6}}},
    {"folded",
     {"int8 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}},
     {"1", "3:4"},
     {"int8 1x2", {8, 9}},
     {"int8 2x2x2", {1, 2, 3, 4, 8, 6, 9, 8}}},
    {"page",
     {"int16 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}},
     {":", ":", "2"},
     {"int16 2x2", {9, 8, 7, 6}},
     {"int16 2x2x2", {1, 2, 3, 4, 9, 8, 7, 6}}},
    {"across pages",
     {"int16 2x2x2", {1, 2, 3, 4, 5, 6, 7, 8}},
     {"2", "1", ":"},
     {"int16 1x1x2", {9, 8}},
     {"int16 2x2x2", {1, 9, 3, 4, 5, 8, 7, 8}}},
    {"char", {"char 1x3", {65, 66, 67}}, {"2"}, {"char", {90}}, {"char 1x3", {65, 90, 67}}},
    {"logical", {"logical 1x3", {1, 0, 1}}, {"[1 2]"}, {"logical 1x2", {0, 1}}, {"logical 1x3", {0, 1, 1}}},
    // growth
    {"past a scalar", {"double", {5}}, {"3"}, {"double", {1}}, {"double 1x3", {5, 0, 1}}},
    {"past a row", {"double 1x3", {1, 2, 3}}, {"7"}, {"double", {1}}, {"double 1x7", {1, 2, 3, 0, 0, 0, 1}}},
    {"past a column", {"double 3x1", {1, 2, 3}}, {"5"}, {"double", {1}}, {"double 5x1", {1, 2, 3, 0, 1}}},
    {"past a vector of the third dimension",
     {"double 1x1x2", {1, 2}},
     {"4"},
     {"double", {9}},
     {"double 1x1x4", {1, 2, 0, 9}}},
    {"into 0x0", {"double 0x0"}, {"5"}, {"double", {1}}, {"double 1x5", {0, 0, 0, 0, 1}}},
    {"into 0x3", {"double 0x3"}, {"2"}, {"double", {1}}, {"double 1x2", {0, 1}}},
    {"into 0x1", {"double 0x1"}, {"2"}, {"double", {1}}, {"double 2x1", {0, 1}}},
    {"into 3x0, one element", {"double 3x0"}, {"1"}, {"double", {1}}, {"double", {1}}},
    {"a column more",
     {"double 2x2", {1, 1, 1, 1}},
     {":", "3"},
     {"double 2x1", {5, 6}},
     {"double 2x3", {1, 1, 1, 1, 5, 6}}},
    {"a row more",
     {"double 2x3", {1, 1, 1, 1, 1, 1}},
     {"3", ":"},
     {"double 1x3", {5, 6, 7}},
     {"double 3x3", {1, 1, 5, 1, 1, 6, 1, 1, 7}}},
    {"both",
     {"uint8 2x2", {1, 2, 3, 4}},
     {"3", "4"},
     {"uint8", {9}},
     {"uint8 3x4", {1, 2, 0, 3, 4, 0, 0, 0, 0, 0, 0, 9}}},
    {"a page more",
     {"single 2x2", {1, 2, 3, 4}},
     {":", ":", "2"},
     {"single", {9}},
     {"single 2x2x2", {1, 2, 3, 4, 9, 9, 9, 9}}},
    {"the first of folded dimensions",
     {"double 1x2x2", {1, 2, 3, 4}},
     {"2", "[1 4]"},
     {"double 1x2", {8, 9}},
     {"double 2x2x2", {1, 8, 2, 0, 3, 0, 4, 9}}},
    {"a row through two subscripts",
     {"double 1x2", {1, 2}},
     {"1", "4"},
     {"double", {9}},
     {"double 1x4", {1, 2, 0, 9}}},
    {"empty subscripts beside one that reaches out",
     {"double 3x4"},
     {"[]", "7"},
     {"double", {5}},
     {"double 3x7"}},
    // nothing
    {"scalar to an empty range", one_to_six, {"1:0"}, scalar_nine, one_to_six},
    {"scalar to []", one_to_six, {"[]"}, scalar_nine, one_to_six},
    {"scalar to a false mask", one_to_six, {"logical [0 0]"}, scalar_nine, one_to_six},
    {"nothing to nothing", one_to_six, {"1:0", ":"}, {"double 0x0"}, one_to_six},
    {"scalar to a colon of 0", {"double 0x3"}, {":", "1"}, scalar_nine, {"double 0x3"}},
    {"scalar to all of 0x0", {"double 0x0"}, {":"}, scalar_nine, {"double 0x0"}},
    {"empty to all of 0x0", {"double 0x0"}, {":"}, {"double 0x0"}, {"double 0x0"}},
    // dimensions of 1 don't count, and colons of nothing take their lengths
    {"0x0 (:,:) = 1x3", {"double 0x0"}, {":", ":"}, {"double 1x3", {1, 2, 3}}, {"double 1x3", {1, 2, 3}}},
    {"0x0 (:,1) = 1x3", {"double 0x0"}, {":", "1"}, {"double 1x3", {1, 2, 3}}, {"double 3x1", {1, 2, 3}}},
    {"0x0 (1,:) = 3x1", {"double 0x0"}, {"1", ":"}, {"double 3x1", {1, 2, 3}}, {"double 1x3", {1, 2, 3}}},
    {"0x0 (1:3,:) = 3x1", {"double 0x0"}, {"1:3", ":"}, {"double 3x1", {1, 2, 3}}, {"double 3x1", {1, 2, 3}}},
    {"0x0 (:,:,2) = 2x3",
     {"double 0x0"},
     {":", ":", "2"},
     {"double 2x3", {1, 2, 3, 4, 5, 6}},
     {"double 2x3x2", {0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6}}},
    {"0x0 (2,:,:) = 2x2",
     {"double 0x0"},
     {"2", ":", ":"},
     {"double 2x2", {1, 2, 3, 4}},
     {"double 2x2x2", {0, 1, 0, 2, 0, 3, 0, 4}}},
    {"0x0 (:,1) = scalar", {"double 0x0"}, {":", "1"}, scalar_nine, {"double", {9}}},
    {"3x4 (:,2) = 1x3",
     {"double 3x2"},
     {":", "2"},
     {"double 1x3", {1, 2, 3}},
     {"double 3x2", {0, 0, 0, 1, 2, 3}}},
    {"1x9 (1:4) = 2x2",
     {"double 1x5"},
     {"1:4"},
     {"double 2x2", {1, 2, 3, 4}},
     {"double 1x5", {1, 2, 3, 4, 0}}},
    {"3x4 (:,:,1) = 3x4",
     {"double 2x2"},
     {":", ":", "1"},
     {"double 2x2", {1, 2, 3, 4}},
     {"double 2x2", {1, 2, 3, 4}}},
    {"3x4 (1:2,3) = 1x1x2",
     {"double 3x3"},
     {"1:2", "3"},
     {"double 1x1x2", {8, 9}},
     {"double 3x3", {0, 0, 0, 0, 0, 0, 8, 9, 0}}},
    {"3x4 (1:0,:) = 0x0", {"double 3x4"}, {"1:0", ":"}, {"double 0x0"}, {"double 3x4"}},
};

TEST_F(AssignmentValues, StandWhereTheSubscriptsSay) {
    for (const assignment_row& row : stored_rows) {
        SCOPED_TRACE(row.name);
        const subscripts subs(row.subs);
        const array_ptr rhs = row.rhs.make();
        for_each_variation(row.lhs.make(), [&](array_ptr& lhs) {
            if (lhs->ref_count > 1 || lhs->internal_ref_count != 0) return;
            matrix::internal::unshare(lhs.get());
            assign(lhs.get(), subs, rhs.get());
            EXPECT_THAT(lhs, EqualsArray(row.result.make()));
        });
        for_each_variation_of_value(rhs, [&](array_ptr& y) {
            const array_ptr lhs = row.lhs.make();
            assign(lhs.get(), subs, y.get());
            EXPECT_THAT(lhs, EqualsArray(row.result.make()));
            EXPECT_THAT(api::ndIsColonObj(y.get()) ? matrix::expand_colon_object(y.get())
                                                   : matrix::detail::do_deep_copy(y.get()),
                        EqualsArray(rhs.get()));
        });
    }
}

std::string dims_text(const array_ptr& array) {
    return matrix::internal::dimension_text(matrix::internal::dims_of(array.get()));
}

TEST_F(AssignmentValues, AreTheSameOnBothWays) {
    for (const assignment_row& row : stored_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr lhs = row.lhs.make();
        const array_ptr before = row.lhs.make();
        const bool grew = assign_fully(lhs.get(), subscripts(row.subs), row.rhs.make().get());
        EXPECT_THAT(lhs, EqualsArray(row.result.make()));
        EXPECT_EQ(grew, dims_text(lhs) != dims_text(before));
    }
}

struct refused_row {
    const char* name;
    value lhs;
    std::vector<const char*> subs;
    value rhs;
    std::string error;
};

const refused_row refused_rows[] = {
    {"count", one_to_six, {"1:3"}, {"double 1x2"}, mismatch},
    {"shape", one_to_six, {"1:2", "1:2"}, {"double 1x4"}, mismatch},
    {"colon with a fixed one", {"double 0x0"}, {"1:3", ":"}, {"double 1x3"}, mismatch},
    {"a dimension too many", {"double 0x0"}, {":", ":"}, {"double 2x3x4"}, mismatch},
    {"all of a 0x0", {"double 0x0"}, {":"}, {"double 1x3"}, mismatch},
    {"colon of 0", {"double 0x3"}, {":", "1"}, {"double 2x1"}, mismatch},
    {"empty to something", one_to_six, {"1:2", "1"}, {"double 0x0"}, mismatch},
    {"matrix by a linear index", {"double 2x2"}, {"7"}, {"double", {1}}, ambiguous},
    {"folded dimension", {"double 2x2x2"}, {"1", "5"}, {"double", {1}}, ambiguous},
    {"0x0x0 by a linear index", {"double 0x0x2"}, {"1"}, {"double", {1}}, ambiguous},
    {"column of three dimensions by two", {"double 1x1x3"}, {"1", "4"}, {"double", {1}}, ambiguous},
    {"zero", one_to_six, {"0"}, {"double", {1}}, "TARVEL:badsubscript badTypeIndices(1, , 0, 1)"},
    {"fraction",
     one_to_six,
     {"1", "1.5"},
     {"double", {1}},
     "TARVEL:badsubscript badTypeIndices(2, , 1.5, 2)"},
    {"negative after good ones",
     one_to_six,
     {"[1 2 -1]"},
     {"double 1x3"},
     "TARVEL:badsubscript badTypeIndices(1, , -1, 1)"},
    {"too large", one_to_six, {"1", "1e15"}, {"double", {1}}, "TARVEL:pmaxsize pmaxsize()"},
    {"size", {"double 1x1"}, {"200000000000000"}, {"double", {1}}, "TARVEL:pmaxsize pmaxsize()"},
    {"zero beside nothing",
     one_to_six,
     {"[]", "0"},
     {"double", {1}},
     "TARVEL:badsubscript badTypeIndices(2, , 0, 2)"},
    {"no subscript for several", one_to_six, {}, {"double 1x2"}, mismatch},
    {"other class",
     one_to_six,
     {"1"},
     {"int8", {1}},
     "TARVEL:invalidConversion invalidConversion(int8, double)"},
    {"other class, nothing selected",
     one_to_six,
     {"[]"},
     {"char", {65}},
     "TARVEL:invalidConversion invalidConversion(char, double)"},
};

TEST_F(AssignmentValues, ThatDontFitAreRefused) {
    for (const refused_row& row : refused_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr rhs = row.rhs.make();
        for_each_variation(row.lhs.make(), [&](array_ptr& lhs) {
            EXPECT_EQ(error_of([&] { assign(lhs.get(), subscripts(row.subs), rhs.get()); }), row.error);
            EXPECT_THAT(lhs, EqualsArray(row.lhs.make()));
        });
    }
}

// Index vectors are tested before anything is stored, whatever their length.
TEST_F(AssignmentValues, NothingIsStoredWhenOneOfManySubscriptsIsBad) {
    for (const char* const class_name : {"double", "int64", "uint64"}) {
        for (const std::size_t count : {1U, 2U, 7U, 8U, 9U, 100U, 1000U}) {
            for (const double bad : {0.0, -1.0, 2000.0}) {
                const std::string shape = " 1x" + std::to_string(count);
                array_ptr x = numbered("double 1x1000");
                const array_ptr before = numbered("double 1x1000");
                std::vector<number> positions(count, number(5));
                positions[count / 2] = number(bad < 0 && class_name[0] == 'u' ? 1e18 : bad);
                const array_ptr s = arr(class_name + shape, std::span<const number>(positions));
                const ndArray_tag* const subs[] = {s.get()};
                const array_ptr y = arr("double" + shape);
                if (bad == 2000) {
                    api::ndSubscriptedAssignment(x.get(), 1, subs, y.get());
                    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 2000U);
                } else {
                    EXPECT_NE(error_of([&] { api::ndSubscriptedAssignment(x.get(), 1, subs, y.get()); }), "");
                    EXPECT_THAT(x, EqualsArray(before.get()));
                }
            }
        }
    }
}

TEST_F(AssignmentValues, OfEveryWidthGoThroughIndexVectors) {
    for (const char* const class_name :
         {"double", "single", "int8", "uint16", "int32", "uint64", "char", "logical"}) {
        for (const char* const index :
             {"double [7 1 3]", "int64 [7 1 3]", "uint64 [7 1 3]", "int32 [7 1 3]", "single [7 1 3]"}) {
            SCOPED_TRACE(std::string(class_name) + " " + index);
            const std::string name(class_name);
            const array_ptr x = arr(name + " 1x8");
            assign(x.get(), {index}, arr(name + " 1x3", {1, 0, 1}).get());
            EXPECT_THAT(x, EqualsArray(arr(name + " 1x8", {0, 0, 1, 0, 0, 0, 1, 0})));
            assign(x.get(), {index}, arr(name, {1}).get());
            EXPECT_THAT(x, EqualsArray(arr(name + " 1x8", {1, 0, 1, 0, 0, 0, 1, 0})));
        }
    }
}

TEST_F(AssignmentValues, FillBlocksOfEveryLength) {
    for (const char* const class_name : {"double", "single", "int8", "uint16"}) {
        for (int first = 1; first < 4; ++first) {
            for (int last = first; last < 150; last += last < 40 ? 1 : 23) {
                const std::string name(class_name);
                const array_ptr x = arr(name + " 1x150");
                std::vector<number> expected(150, number(0));
                for (int i = first; i <= last; ++i) expected[static_cast<std::size_t>(i - 1)] = number(7);
                const std::string range = std::to_string(first) + ":" + std::to_string(last);
                assign(x.get(), {range.c_str()}, arr(name, {7}).get());
                ASSERT_THAT(x, EqualsArray(arr(name + " 1x150", std::span<const number>(expected)))) << range;
            }
        }
    }
}

TEST_F(AssignmentValues, ASubscriptMayBeTheLeftSideItself) {
    const array_ptr x = arr("double 1x3", {3, 1, 2});
    const ndArray_tag* const subs[] = {x.get()};
    api::ndSubscriptedAssignment(x.get(), 1, subs, arr("double 1x3", {7, 8, 9}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {8, 9, 7})));
}

TEST_F(AssignmentValues, TheRightHandSideMayBeTheLeftSideItself) {
    for (const char* const description : {"double 1x3", "complex single 1x3", "char 1x3"}) {
        const array_ptr x = numbered(description);
        const array_ptr before = numbered(description);
        assign(x.get(), {"4:6"}, x.get());
        ASSERT_EQ(api::ndGetNumberOfElements(x.get()), 6U);
        const array_ptr same = numbered(description);
        assign(same.get(), {"3:-1:1"}, same.get());
        assign(same.get(), {"3:-1:1"}, same.get());
        EXPECT_THAT(same, EqualsArray(before.get()));
    }
}

TEST_F(AssignmentValues, OfColonObjectsAreTheirElements) {
    const array_ptr x = arr("double 1x4");
    assign(x.get(), {":"}, matrix::create_colon_object(4, -1, 1).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x4", {4, 3, 2, 1})));
    const array_ptr range = matrix::create_colon_object(1, 1, 4);
    assign(range.get(), {"2"}, arr("double", {9}).get());
    EXPECT_THAT(range, EqualsArray(arr("double 1x4", {1, 9, 3, 4})));
}

// A row that grows to the length of operands isn't a range by that.
TEST_F(AssignmentValues, MakeNoRangeOfWhatIsNone) {
    const array_ptr x = matrix::create_colon_object(4, 1, 9);
    api::ndSetN(x.get(), 2);
    assign(x.get(), {"3"}, arr("double", {7}).get());
    EXPECT_FALSE(api::ndIsColonObj(x.get()));
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {1, 4, 7})));
}

TEST_F(AssignmentValues, GoIntoSparseArraysThroughFullOnes) {
    const array_ptr x = sparse_arr("double 2x2", {{0, 0, 1}, {1, 1, 4}});
    assign(x.get(), {"2", "1"}, arr("double", {9}).get());
    EXPECT_THAT(x, EqualsArray(sparse_arr("double 2x2", {{0, 0, 1}, {1, 0, 9}, {1, 1, 4}})));
    assign(x.get(), {"1", ":"}, sparse_arr("double 1x2", {{0, 1, 7}}).get());
    EXPECT_THAT(x, EqualsArray(sparse_arr("double 2x2", {{1, 0, 9}, {0, 1, 7}, {1, 1, 4}})));
    assign(x.get(), {"3", "3"}, arr("double", {1}).get());
    EXPECT_THAT(x, EqualsArray(sparse_arr("double 3x3", {{1, 0, 9}, {0, 1, 7}, {1, 1, 4}, {2, 2, 1}})));
    const std::string error = error_of([&] { assign(x.get(), {"10"}, arr("double", {1}).get()); });
    EXPECT_EQ(error, ambiguous);
    EXPECT_THAT(x, EqualsArray(sparse_arr("double 3x3", {{1, 0, 9}, {0, 1, 7}, {1, 1, 4}, {2, 2, 1}})));
}

TEST_F(AssignmentValues, OfSparseArraysGoIntoFullOnes) {
    const array_ptr x = arr("double 2x2", {1, 2, 3, 4});
    assign(x.get(), {":", "2"}, sparse_arr("double 2x1", {{1, 0, 7}}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 2x2", {1, 2, 0, 7})));
}

TEST_F(AssignmentValues, WithoutSubscriptsTheFirstElementIsMeant) {
    const array_ptr x = arr("double 1x3", {1, 2, 3});
    assign(x.get(), {}, arr("double", {7}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {7, 2, 3})));
    const array_ptr nothing = arr("double 0x3");
    assign(nothing.get(), {}, arr("double", {7}).get());
    EXPECT_THAT(nothing, EqualsArray(arr("double 0x3")));
    const array_ptr no_class = matrix::create(std::vector<std::size_t>{0, 3}, ndUNKNOWN_CLASS, ndREAL);
    assign(no_class.get(), {}, arr("int8", {7}).get());
    EXPECT_THAT(no_class, EqualsArray(arr("int8 0x0")));
}

TEST_F(AssignmentValues, GrowthIsHeldToTheUsersLimit) {
    struct limit_row {
        const char* lhs;
        std::vector<const char*> fits;
        std::vector<const char*> exceeds;
    };
    const limit_row limit_rows[] = {{"double 1x1", {"100"}, {"101"}},
                                    {"double 2x2", {"10", "10"}, {"10", "11"}},
                                    {"double 0x0", {"4", "5", "5"}, {"4", "5", "6"}},
                                    {"single 1x3", {"200"}, {"201"}}};
    for (const limit_row& row : limit_rows) {
        SCOPED_TRACE(row.lhs);
        const array_ptr x = arr(row.lhs);
        const array_ptr before = arr(row.lhs);
        const array_ptr one = arr(row.lhs[0] == 'd' ? "double" : "single", {1});
        const subscripts fits(row.fits);
        const subscripts exceeds(row.exceeds);
        const size_limit_scope limit(800, 100);
        EXPECT_THROW(assign(x.get(), exceeds, one.get()), matrix::internal::SizeLimitExceeded);
        EXPECT_THAT(x, EqualsArray(before.get()));
        assign(x.get(), fits, one.get());
        EXPECT_EQ(api::ndGetNumberOfElements(x.get()), row.lhs[0] == 'd' ? 100U : 200U);
    }
}

TEST_F(AssignmentValues, ElevenSubscriptsWork) {
    const array_ptr x = arr("double 2x2", {1, 2, 3, 4});
    assign(x.get(), {"1", ":", "1", "1", "1", "1", "1", "1", "1", "1", "2"}, arr("double 1x2", {8, 9}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 2x2x1x1x1x1x1x1x1x1x2", {1, 2, 3, 4, 8, 0, 9, 0})));
}

} // namespace
} // namespace test
