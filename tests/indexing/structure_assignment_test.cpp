// Assignment to elements and fields of struct and object arrays.
#include "indexing/raised_error.hpp"
#include "indexing/sub_list.hpp"
#include "matrix/containers.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/containers.hpp>
#include <nd/sizes.hpp>
#include <nd/structures.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::internal::slots_of;

using StructureAssignment = NdTest;

// Fields a and b, whose values are first, first + 1, ... slot by slot.
array_ptr counting(const std::string& shape, int first) {
    const array_ptr form = arr("double " + shape);
    std::vector<array_ptr> values;
    for (std::size_t i = 0; i < 2 * api::ndGetNumberOfElements(form.get()); ++i)
        values.push_back(arr("double", {first++}));
    const char* const names[] = {"a", "b"};
    return struct_of_arrays(shape, names, std::move(values));
}

array_ptr cell_of(const std::string& shape, int first) {
    const array_ptr form = arr("double " + shape);
    std::vector<array_ptr> values;
    for (std::size_t i = 0; i < api::ndGetNumberOfElements(form.get()); ++i)
        values.push_back(arr("double", {first++}));
    return values.empty() ? arr("cell " + shape) : arr_of_arrays("cell " + shape, std::move(values));
}

// "1x2: 10 11 - 13": slot by slot, empty ones as a dash.
std::string content_text(const ndArray_tag* x) {
    std::string text;
    const kvSize* const dims = api::ndGetDimensions(x);
    for (std::size_t i = 0; i < api::ndGetNumberOfDimensions(x); ++i)
        text += (i == 0 ? "" : "x") + std::to_string(dims[i]);
    text += ":";
    for (std::size_t i = 0; i < matrix::internal::slot_count(x); ++i) {
        const ndArray_tag* const value = slots_of(x)[i];
        text += value == nullptr
                    ? " -"
                    : " " + std::to_string(static_cast<long>(*static_cast<double*>(value->pdata)));
    }
    return text;
}

bool assign(const array_ptr& lhs, const sub_list& subs, const array_ptr& rhs, std::size_t field = 0) {
    bool grew = !field; // whatever was there before
    api::ndStructureAssignment(grew, lhs.get(), subs.size(), subs.data(), rhs.get(), field);
    return grew;
}

struct assignment_row {
    const char* lhs; ///< values from 10 on
    const char* subs;
    const char* rhs; ///< values from 1 on
    std::size_t field;
    bool grows;
    const char* after;
};

const assignment_row rows[] = {
    // whole elements
    {"1x3", "2", "1x1", 0, false, "1x3: 10 11 1 2 14 15"},
    {"1x3", "[3 1]", "1x2", 0, false, "1x3: 3 4 12 13 1 2"},
    {"1x3", "[3 1]", "2x1", 0, false, "1x3: 3 4 12 13 1 2"},
    {"1x3", "3:-2:1", "1x2", 0, false, "1x3: 3 4 12 13 1 2"},
    {"1x3", "[2 2]", "1x2", 0, false, "1x3: 10 11 3 4 14 15"},
    {"2x2", ":", "1x4", 0, false, "2x2: 1 2 3 4 5 6 7 8"},
    {"2x2", ":, 1", "2x1", 0, false, "2x2: 1 2 3 4 14 15 16 17"},
    {"2x2", "2, :", "1x2", 0, false, "2x2: 10 11 1 2 14 15 3 4"},
    {"2x2", "<1001>", "1x2", 0, false, "2x2: 1 2 12 13 14 15 3 4"},
    // one element goes to all places
    {"1x3", "[1 3]", "1x1", 0, false, "1x3: 1 2 12 13 1 2"},
    {"2x2", ":, :", "1x1", 0, false, "2x2: 1 2 1 2 1 2 1 2"},
    {"1x1", "1:3", "1x1", 0, true, "1x3: 1 2 1 2 1 2"},
    // one field
    {"1x3", "2", "1x1", 2, false, "1x3: 10 11 12 1 14 15"},
    {"1x3", "[3 1]", "1x2", 1, false, "1x3: 2 11 12 13 1 15"},
    {"1x3", ":", "1x1", 2, false, "1x3: 10 1 12 1 14 1"},
    {"2x2", "2, :", "1x2", 1, false, "2x2: 10 11 1 13 14 15 2 17"},
    // growth: new slots are empty
    {"1x3", "5", "1x1", 0, true, "1x5: 10 11 12 13 14 15 - - 1 2"},
    {"1x2", "4", "1x1", 2, true, "1x4: 10 11 12 13 - - - 1"},
    {"3x1", "4", "1x1", 0, true, "4x1: 10 11 12 13 14 15 1 2"},
    {"1x1", "3", "1x1", 0, true, "1x3: 10 11 - - 1 2"},
    {"2x2", "3, 3", "1x1", 0, true, "3x3: 10 11 12 13 - - 14 15 16 17 - - - - - - 1 2"},
    {"2x2", ":, 3", "2x1", 0, true, "2x3: 10 11 12 13 14 15 16 17 1 2 3 4"},
    {"2x2", "1, 1, 2", "1x1", 0, true, "2x2x2: 10 11 12 13 14 15 16 17 1 2 - - - - - -"},
    {"2x2x2", "3, :", "1x4", 0, true,
     "3x2x2: 10 11 12 13 1 2 14 15 16 17 3 4 18 19 20 21 5 6 22 23 24 25 7 8"},
    // arrays without elements
    {"0x0", "2", "1x1", 0, true, "1x2: - - 1 2"},
    {"0x0", "2, 1", "1x1", 0, true, "2x1: - - 1 2"},
    {"0x0", ":, 1", "2x1", 0, true, "2x1: 1 2 3 4"},
    {"0x0", "1, :", "1x2", 0, true, "1x2: 1 2 3 4"},
    {"0x0", "2", "1x1", 1, true, "1x2: - - 1 -"},
    {"0x3", "2", "1x1", 0, true, "1x2: - - 1 2"},
    {"0x0", ":", "1x1", 0, false, "0x0:"},
    {"0x0", ":, :", "1x1", 1, false, "0x0:"},
    {"0x3", ":, 2", "1x1", 0, false, "0x3:"},
    // nothing is selected, or there is nothing to store
    {"1x3", "[]", "1x1", 0, false, "1x3: 10 11 12 13 14 15"},
    {"1x3", "[]", "0x0", 0, false, "1x3: 10 11 12 13 14 15"},
    {"1x3", "<000>", "1x1", 2, false, "1x3: 10 11 12 13 14 15"},
    {"2x2", "[], 3", "1x1", 0, true, "2x3: 10 11 12 13 14 15 16 17 - - - -"},
};

TEST_F(StructureAssignment, FollowsItsTable) {
    for (const bool object : {false, true}) {
        for (const assignment_row& row : rows) {
            SCOPED_TRACE(std::string(row.lhs) + " (" + row.subs + ")." + std::to_string(row.field) + " = " +
                         row.rhs);
            const array_ptr lhs = counting(row.lhs, 10);
            if (object) {
                ASSERT_EQ(api::ndSetClassName(lhs.get(), "thing"), 0);
            }
            const array_ptr rhs = row.field == 0 ? counting(row.rhs, 1) : cell_of(row.rhs, 1);
            const std::string given = content_text(rhs.get());
            EXPECT_EQ(assign(lhs, row.subs, rhs, row.field), row.grows);
            EXPECT_EQ(content_text(lhs.get()), row.after);
            EXPECT_EQ(content_text(rhs.get()), given);
            EXPECT_EQ(field_names_text(lhs.get()), "{a, b}");
            EXPECT_EQ(lhs->class_id, object ? ndOBJECT_CLASS : ndSTRUCT_CLASS);
        }
    }
}

TEST_F(StructureAssignment, TakesMoreSubscriptsThanASetHasRoomFor) {
    const array_ptr lhs = counting("1x2", 10);
    EXPECT_TRUE(assign(lhs, "1, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1", counting("1x1", 1)));
    EXPECT_EQ(content_text(lhs.get()), "1x3: 10 11 12 13 1 2");
}

array_ptr bracket() {
    array_ptr x = arr("double 0x0");
    x->flags |= matrix::flag_empty_square_bracket;
    return x;
}
array_ptr unknown() { return array_ptr(api::ndCreateNumericMatrix(0, 0, ndUNKNOWN_CLASS, ndREAL)); }

TEST_F(StructureAssignment, LetsEmptyLeftSidesGiveWay) {
    for (const auto make : {bracket, unknown}) {
        const array_ptr rhs = struct_arr("1x1", {"a"}, arr("double", {1}));
        const array_ptr lhs = make();
        const ndArray_tag* const header = lhs.get();
        EXPECT_TRUE(assign(lhs, "2", rhs));
        EXPECT_EQ(lhs.get(), header);
        EXPECT_EQ(lhs->class_id, ndSTRUCT_CLASS);
        EXPECT_EQ(field_names_text(lhs.get()), "{a}");
        EXPECT_EQ(content_text(lhs.get()), "1x2: - 1");
        EXPECT_EQ(lhs->flags & matrix::flag_empty_square_bracket, 0u);
        const array_ptr several = make();
        EXPECT_TRUE(assign(several, ":, :", counting("1x2", 1)));
        EXPECT_EQ(content_text(several.get()), "1x2: 1 2 3 4");
        const array_ptr nothing = make();
        EXPECT_TRUE(assign(nothing, "[]", rhs));
        EXPECT_EQ(nothing->class_id, ndSTRUCT_CLASS);
        EXPECT_EQ(content_text(nothing.get()), "0x0:");
        // the way from subscripted assignment
        const array_ptr by_assignment = make();
        const sub_list subs("2");
        api::ndSubscriptedAssignment(by_assignment.get(), 1, subs.data(), rhs.get());
        EXPECT_THAT(by_assignment, EqualsArray(lhs.get()));
    }
    const array_ptr colon = unknown();
    EXPECT_TRUE(assign(colon, ":", counting("1x2", 1)));
    EXPECT_EQ(content_text(colon.get()), "1x2: 1 2 3 4");
    const array_ptr fields_differ = struct_arr("0x0", {"x", "y", "z"});
    fields_differ->flags |= matrix::flag_empty_square_bracket;
    EXPECT_TRUE(assign(fields_differ, "1", counting("1x1", 1)));
    EXPECT_EQ(content_text(fields_differ.get()), "1x1: 1 2");
}

TEST_F(StructureAssignment, TakesStructsWithoutFields) {
    const array_ptr lhs = struct_arr("1x2", {});
    EXPECT_TRUE(assign(lhs, "4", struct_arr("1x1", {})));
    EXPECT_EQ(content_text(lhs.get()), "1x4:");
    EXPECT_EQ(lhs->pdata, nullptr);
}

// The elements of a struct without fields take no room, and there still are no more of them than any array may have.
TEST_F(StructureAssignment, RefusesSizesBeyondTheCeiling) {
    const std::string error = "TARVEL:pmaxsize pmaxsize()";
    for (const char* subs : {"4294967296, 4294967296", "281474976710654, 281474976710654, 281474976710654",
                             "281474976710655, 2"}) {
        SCOPED_TRACE(subs);
        for (const array_ptr& lhs : {struct_arr("1x1", {}), counting("1x1", 10)}) {
            const snapshot before(lhs.get());
            const array_ptr rhs =
                matrix::internal::slot_count(lhs.get()) == 0 ? struct_arr("1x1", {}) : counting("1x1", 1);
            EXPECT_EQ(error_of([&] { assign(lhs, subs, rhs); }), error);
            EXPECT_EQ(before.difference(), "");
        }
    }
    const array_ptr lhs = struct_arr("1x1", {});
    EXPECT_TRUE(assign(lhs, "281474976710655", struct_arr("1x1", {})));
    EXPECT_EQ(api::ndGetN(lhs.get()), 0xFFFF'FFFF'FFFFU);
}

TEST_F(StructureAssignment, RefusesWhatPassesTheLimitOfTheUser) {
    const array_ptr s = counting("1x1", 10);
    const snapshot before(s.get());
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(true);
    EXPECT_THROW(assign(s, "8796093022208", counting("1x1", 1)), matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
    EXPECT_EQ(before.difference(), "");
}

TEST_F(StructureAssignment, SharesPlainValuesAndReleasesOldOnes) {
    const array_ptr lhs = counting("1x2", 10);
    const array_ptr rhs = struct_arr("1x1", {"a", "b"}, arr("double", {1}), arr("cell 1x1", nullptr));
    ndArray_tag* const old = slots_of(lhs.get())[2];
    intrusive_ptr_add_ref(old);
    EXPECT_FALSE(assign(lhs, "2", rhs));
    EXPECT_EQ(old->ref_count, 1u);
    matrix::destroyArray(old);
    EXPECT_EQ(slots_of(lhs.get())[2], slots_of(rhs.get())[0]);
    EXPECT_EQ(slots_of(rhs.get())[0]->ref_count, 2u);
    EXPECT_NE(slots_of(lhs.get())[3], slots_of(rhs.get())[1]);
    EXPECT_EQ(slots_of(lhs.get())[3]->pdata, slots_of(rhs.get())[1]->pdata);
}

TEST_F(StructureAssignment, TakesItselfAsRightHandSide) {
    const array_ptr s = counting("1x2", 10);
    EXPECT_TRUE(assign(s, "[3 4]", s));
    EXPECT_EQ(content_text(s.get()), "1x4: 10 11 12 13 10 11 12 13");
    EXPECT_FALSE(assign(s, "[4 3 2 1]", s));
    EXPECT_EQ(content_text(s.get()), "1x4: 12 13 10 11 12 13 10 11");
}

// The slot that the right-hand side stands in is among those that are stored to.
TEST_F(StructureAssignment, TakesWhatAFieldHoldsAsRightHandSide) {
    const array_ptr s = struct_arr("1x3", {"a"}, cell_of("1x3", 1), nullptr, arr("double", {5}));
    const sub_list subs(":");
    bool grew = true;
    api::ndStructureAssignment(grew, s.get(), 1, subs.data(), slots_of(s.get())[0], 1);
    EXPECT_FALSE(grew);
    EXPECT_EQ(content_text(s.get()), "1x3: 1 2 3");
    const array_ptr nested = struct_arr("1x2", {"a", "b"}, counting("1x2", 1), nullptr, nullptr, nullptr);
    api::ndStructureAssignment(grew, nested.get(), 1, subs.data(), slots_of(nested.get())[0], 0);
    EXPECT_EQ(content_text(nested.get()), "1x2: 1 2 3 4");
}

TEST_F(StructureAssignment, StoresByPositionWhateverTheNames) {
    const array_ptr lhs = counting("1x1", 10);
    EXPECT_FALSE(assign(lhs, "1", struct_arr("1x1", {"b", "c"}, arr("double", {1}), arr("double", {2}))));
    EXPECT_EQ(content_text(lhs.get()), "1x1: 1 2");
    EXPECT_EQ(field_names_text(lhs.get()), "{a, b}");
}

TEST_F(StructureAssignment, KeepsRoomToSpare) {
    const array_ptr s = counting("1x1", 10);
    const array_ptr one = counting("1x1", 1);
    std::size_t blocks = 0;
    const void* block = nullptr;
    for (std::size_t i = 2; i <= 2000; ++i) {
        sub_list subs(arr("double", {i}));
        EXPECT_TRUE(assign(s, subs, one));
        if (i > 256) blocks += block != s->pdata;
        block = s->pdata;
    }
    EXPECT_LE(blocks, 5u);
    EXPECT_EQ(api::ndGetN(s.get()), 2000u);
}

TEST_F(StructureAssignment, WritesToEveryRepresentationOfTheRightHandSide) {
    const array_ptr value = counting("1x2", 1);
    for_each_variation(value, [&](array_ptr& rhs) {
        const array_ptr lhs = counting("1x2", 10);
        EXPECT_TRUE(assign(lhs, "[1 4]", rhs));
        EXPECT_EQ(content_text(lhs.get()), "1x4: 1 2 12 13 - - 3 4");
        EXPECT_THAT(rhs, EqualsArray(value.get()));
    });
}

struct refused_row {
    const char* lhs;
    const char* subs;
    array_ptr (*rhs)();
    std::size_t field;
    const char* error;
};

const refused_row refused[] = {
    {"1x3", "[1 2]", [] { return counting("1x3", 1); }, 0,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
    {"1x3", "[1 2]", [] { return counting("0x0", 1); }, 0,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
    {"1x3", "[1 2]", [] { return cell_of("1x3", 1); }, 1,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
    {"0x0", ":", [] { return counting("1x2", 1); }, 0,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
    {"0x0", ":, 1", [] { return cell_of("2x1", 1); }, 1,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
    {"2x2", "5", [] { return counting("1x1", 1); }, 0,
     "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()"},
    {"2x2x2", "1, 5", [] { return counting("1x1", 1); }, 0,
     "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()"},
    {"1x3", "0", [] { return counting("1x1", 1); }, 0, "TARVEL:badsubscript badTypeIndices(1, , 0, 1)"},
    {"1x3", "1, 2.5", [] { return counting("1x1", 1); }, 0,
     "TARVEL:badsubscript badTypeIndices(2, , 2.5, 2)"},
    {"1x3", "281474976710655", [] { return counting("1x1", 1); }, 0, "TARVEL:pmaxsize pmaxsize()"},
    {"1x3", "1", [] { return struct_arr("1x1", {"a"}, arr("double", {1})); }, 0,
     "TARVEL:invalidConversion invalidConversion(struct, struct)"},
    {"1x3", "1", [] { return arr("double", {1}); }, 0,
     "TARVEL:invalidConversion invalidConversion(double, struct)"},
    {"1x3", "1", [] { return arr("double", {1}); }, 1,
     "TARVEL:invalidConversion invalidConversion(double, struct)"},
    {"1x3", "1", [] { return cell_of("1x1", 1); }, 0,
     "TARVEL:invalidConversion invalidConversion(cell, struct)"},
    {"1x3", "1", [] { return counting("1x1", 1); }, 1,
     "TARVEL:invalidConversion invalidConversion(struct, struct)"},
    {"1x3", "1", [] { return cell_of("1x1", 1); }, 3, "TARVEL:badargs badargs()"},
    {"1x3", "", [] { return counting("1x1", 1); }, 0, "TARVEL:nindexIsZero nindexIsZero()"},
    // subscripts come first
    {"1x3", "0", [] { return arr("double", {1}); }, 0, "TARVEL:badsubscript badTypeIndices(1, , 0, 1)"},
    {"1x3", "[1 2]", [] { return arr("double 1x3"); }, 0,
     "TARVEL:subsassigndimmismatch subsassigndimmismatch()"},
};

TEST_F(StructureAssignment, RefusesInEveryModuleMode) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        for (const refused_row& row : refused) {
            SCOPED_TRACE(std::string(row.lhs) + " (" + row.subs + ")");
            const array_ptr lhs = counting(row.lhs, 10);
            const array_ptr rhs = row.rhs();
            const snapshot left(lhs.get());
            const snapshot right(rhs.get());
            const sub_list subs(row.subs);
            bool grew = true;
            EXPECT_EQ(error_of([&] {
                          api::ndStructureAssignment(grew, lhs.get(), subs.size(), subs.data(), rhs.get(),
                                                     row.field);
                      }),
                      row.error);
            EXPECT_FALSE(grew);
            EXPECT_EQ(left.difference(), "");
            EXPECT_EQ(right.difference(), "");
        }
    }
    const array_ptr number = arr("double", {1});
    EXPECT_EQ(error_of([&] { assign(number, "1", counting("1x1", 1)); }),
              "TARVEL:invalidConversion invalidConversion(struct, double)");
    const array_ptr literal = bracket();
    EXPECT_EQ(error_of([&] { assign(literal, "1", cell_of("1x1", 1), 1); }),
              "TARVEL:invalidConversion invalidConversion(cell, double)");
}

} // namespace
} // namespace test
