// Elements and fields of struct and object arrays by subscripts.
#include "indexing/raised_error.hpp"
#include "indexing/sub_list.hpp"
#include "matrix/containers.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/lists.hpp>
#include <nd/reference.hpp>
#include <nd/sizes.hpp>
#include <nd/structures.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::internal::slots_of;

using StructureReference = NdTest;

// Fields a and b, whose values are 10 and 1 times the number of the element, counted from 1.
array_ptr counting(const std::string& shape) {
    const array_ptr form = arr("double " + shape);
    std::vector<array_ptr> values;
    for (std::size_t i = 1; i <= api::ndGetNumberOfElements(form.get()); ++i) {
        values.push_back(arr("double", {10 * i}));
        values.push_back(arr("double", {i}));
    }
    const char* const names[] = {"a", "b"};
    return struct_of_arrays(shape, names, std::move(values));
}

std::string dims_text(const ndArray_tag* x) {
    std::string text;
    const kvSize* const dims = api::ndGetDimensions(x);
    for (std::size_t i = 0; i < api::ndGetNumberOfDimensions(x); ++i)
        text += (i == 0 ? "" : "x") + std::to_string(dims[i]);
    return text;
}

double scalar_of(const ndArray_tag* x) { return x == nullptr ? -1 : *static_cast<double*>(x->pdata); }

// "1x2: 10 1 30 3", slot by slot.
std::string content_text(const ndArray_tag* x) {
    std::string text = dims_text(x) + ":";
    for (std::size_t i = 0; i < matrix::internal::slot_count(x); ++i)
        text += " " + std::to_string(static_cast<long>(scalar_of(slots_of(x)[i])));
    return text;
}

struct reference_row {
    const char* shape;
    const char* subs;
    std::size_t field;
    const char* result;
};

const reference_row rows[] = {
    // all fields, one subscript: the shape rule of reference
    {"1x3", "2", 0, "1x1: 20 2"},
    {"1x3", "[1 3]", 0, "1x2: 10 1 30 3"},
    {"1x3", "[3;1]", 0, "1x2: 30 3 10 1"},
    {"3x1", "[1 3]", 0, "2x1: 10 1 30 3"},
    {"1x3", ":", 0, "3x1: 10 1 20 2 30 3"},
    {"2x2", "2:3", 0, "1x2: 20 2 30 3"},
    {"2x2", "3:-1:2", 0, "1x2: 30 3 20 2"},
    {"1x3", "<010>", 0, "1x1: 20 2"},
    {"1x3", "<000>", 0, "1x0:"},
    {"1x1", "<0>", 0, "0x0:"},
    {"1x3", "[]", 0, "0x0:"},
    {"1x3", "[0x3]", 0, "0x3:"},
    {"1x3", "[2 2]", 0, "1x2: 20 2 20 2"},
    {"2x2", "[1;4]", 0, "2x1: 10 1 40 4"},
    // all fields, several subscripts
    {"2x3", "2, :", 0, "1x3: 20 2 40 4 60 6"},
    {"2x3", ":, 3:-1:2", 0, "2x2: 50 5 60 6 30 3 40 4"},
    {"2x3", "1, 2, 1", 0, "1x1: 30 3"},
    {"2x2x2", "2, [1 4]", 0, "1x2: 20 2 80 8"},
    {"2x2x2", "1, 1, :", 0, "1x1x2: 10 1 50 5"},
    {"2x3", "[], :", 0, "0x3:"},
    // one field: a cell
    {"1x3", "2", 1, "1x1: 20"},
    {"1x3", "[1 3]", 2, "2x1: 1 3"},
    {"1x3", ":", 2, "3x1: 1 2 3"},
    {"1x3", "1, [1 3]", 1, "1x2: 10 30"},
    {"2x3", "2, :", 2, "1x3: 2 4 6"},
    {"1x3", "[]", 1, "0x1:"},
    {"1x3", "<000>", 2, "0x1:"},
};

TEST_F(StructureReference, FollowsItsTable) {
    for (const reference_row& row : rows) {
        SCOPED_TRACE(std::string(row.shape) + " (" + row.subs + ") field " + std::to_string(row.field));
        const array_ptr s = counting(row.shape);
        const array_ptr result = matrix::structureReference(*s, sub_list(row.subs).span(), row.field);
        EXPECT_EQ(content_text(result.get()), row.result);
        EXPECT_EQ(result->class_id, row.field == 0 ? ndSTRUCT_CLASS : ndCELL_CLASS);
        if (row.field != 0) continue;
        EXPECT_EQ(field_names_text(result.get()), "{a, b}");
        const array_ptr same = matrix::subscriptedReference(*s, sub_list(row.subs).span());
        EXPECT_THAT(same, EqualsArray(result.get()));
    }
}

TEST_F(StructureReference, TakesMoreSubscriptsThanASetHasRoomFor) {
    const array_ptr s = counting("2x3");
    const array_ptr result =
        matrix::structureReference(*s, sub_list("2, :, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1").span(), 0);
    EXPECT_EQ(content_text(result.get()), "1x3: 20 2 40 4 60 6");
}

TEST_F(StructureReference, SharesWhatTheFieldsHold) {
    const array_ptr s = struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("cell 1x1", nullptr), nullptr,
                                   arr("char", u"x"));
    ndArray_tag* const plain = slots_of(s.get())[0];
    ndArray_tag* const cell = slots_of(s.get())[1];
    const array_ptr first = matrix::structureReference(*s, sub_list("1").span(), 0);
    EXPECT_EQ(slots_of(first.get())[0], plain);
    EXPECT_EQ(plain->ref_count, 2u);
    EXPECT_NE(slots_of(first.get())[1], cell) << "a container gets a header of its own";
    EXPECT_EQ(slots_of(first.get())[1]->pdata, cell->pdata);
    const array_ptr second = matrix::structureReference(*s, sub_list("2").span(), 1);
    EXPECT_EQ(slots_of(second.get())[0], nullptr);
}

TEST_F(StructureReference, TakesStructsWithoutFieldsOrElements) {
    const array_ptr bare = struct_arr("1x3", {});
    for (const char* subs : {"2", "[1 3]", ":"}) {
        const array_ptr result = matrix::structureReference(*bare, sub_list(subs).span(), 0);
        EXPECT_EQ(result->class_id, ndSTRUCT_CLASS);
        EXPECT_EQ(result->pdata, nullptr);
        EXPECT_EQ(dims_text(result.get()), std::string(subs) == "2"   ? "1x1"
                                           : std::string(subs) == ":" ? "3x1"
                                                                      : "1x2");
    }
    const array_ptr none = counting("0x0");
    EXPECT_EQ(content_text(matrix::structureReference(*none, sub_list(":").span(), 0).get()), "0x1:");
    EXPECT_EQ(content_text(matrix::structureReference(*none, sub_list(":").span(), 1).get()), "0x1:");
    EXPECT_EQ(content_text(matrix::structureReference(*none, sub_list("[]").span(), 0).get()), "0x0:");
}

// A position is selected as often as it is named.
sub_list often(std::size_t times, std::size_t nsubs) {
    sub_list subs;
    const std::vector<number> ones(times, number(1));
    for (std::size_t i = 0; i < nsubs; ++i)
        subs.add(arr("double 1x" + std::to_string(times), std::span<const number>(ones)));
    return subs;
}

TEST_F(StructureReference, RefusesSizesBeyondTheCeiling) {
    for (const array_ptr& s : {struct_arr("1x1", {}), counting("1x1")}) {
        for (const std::size_t nsubs : {3U, 4U})
            EXPECT_EQ(error_of([&] { matrix::structureReference(*s, often(65536, nsubs).span(), 0); }),
                      "TARVEL:pmaxsize pmaxsize()");
    }
    const array_ptr bare = matrix::structureReference(*struct_arr("1x1", {}), often(65535, 3).span(), 0);
    EXPECT_EQ(dims_text(bare.get()), "65535x65535x65535");
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(true);
    EXPECT_THROW(matrix::structureReference(*counting("1x1"), often(20000, 3).span(), 1),
                 matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
}

TEST_F(StructureReference, KeepsObjectsObjects) {
    const array_ptr s = counting("1x3");
    ASSERT_EQ(api::ndSetClassName(s.get(), "thing"), 0);
    const array_ptr result = matrix::structureReference(*s, sub_list("[1 3]").span(), 0);
    EXPECT_EQ(result->class_id, ndOBJECT_CLASS);
    EXPECT_STREQ(api::ndGetClassName(result.get()), "thing");
    EXPECT_EQ(content_text(result.get()), "1x2: 10 1 30 3");
    EXPECT_EQ(matrix::structureReference(*s, sub_list("2").span(), 2)->class_id, ndCELL_CLASS);
}

TEST_F(StructureReference, ReadsEveryRepresentation) {
    const array_ptr value = counting("2x3");
    for_each_variation(value, [&](array_ptr& s) {
        EXPECT_EQ(content_text(matrix::structureReference(*s, sub_list("2, [1 3]").span(), 0).get()),
                  "1x2: 20 2 60 6");
        EXPECT_EQ(content_text(matrix::structureReference(*s, sub_list("2, [1 3]").span(), 2).get()),
                  "1x2: 2 6");
        EXPECT_THAT(s, EqualsArray(value.get()));
    });
}

struct refused_row {
    const char* subs;
    std::size_t field;
    const char* error;
};

const refused_row refused[] = {
    {"7", 0, "TARVEL:badsubscript indexExceedsDims(1, 2x3, 7, 1, numeric)"},
    {"7", 1, "TARVEL:badsubscript indexExceedsDims(1, 2x3, 7, 1, numeric)"},
    {"1, 4", 0, "TARVEL:badsubscript indexExceedsDims(2, 2x3, 4, 2, numeric)"},
    {"<0000001>", 0, "TARVEL:badsubscript indexExceedsDims(1, 2x3, 7, 1, logical)"},
    {"1, 1, 2", 0, "TARVEL:badsubscript indexExceedsDims(3, 2x3, 2, 3, numeric)"},
    {"0", 0, "TARVEL:badsubscript badTypeIndices(1, 2x3, 0, 1)"},
    {"1, 1.5", 1, "TARVEL:badsubscript badTypeIndices(2, 2x3, 1.5, 2)"},
    {"1", 3, "TARVEL:badargs badargs()"},
    {"", 0, "TARVEL:nindexIsZero nindexIsZero()"},
};

TEST_F(StructureReference, RefusesInEveryModuleMode) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        const array_ptr s = counting("2x3");
        const snapshot before(s.get());
        for (const refused_row& row : refused) {
            SCOPED_TRACE(row.subs);
            const sub_list subs(row.subs);
            EXPECT_EQ(error_of([&] { matrix::structureReference(*s, subs.span(), row.field); }), row.error);
            EXPECT_EQ(
                error_of([&] { api::ndStructureReference(s.get(), subs.size(), subs.data(), row.field); }),
                row.error);
            EXPECT_EQ(before.difference(), "");
        }
    }
}

// What they keep where a struct has its fields is none.
TEST_F(StructureReference, RefusesOtherClasses) {
    const sub_list subs("1");
    for (const std::size_t field : {0U, 1U}) {
        const auto refused_as = [&](const array_ptr& x) {
            return error_of([&] { matrix::structureReference(*x, subs.span(), field); });
        };
        EXPECT_EQ(refused_as(sparse_arr("double 3x2", {{1, 0, 2.5}})),
                  "TARVEL:invalidConversion invalidConversion(double, struct)");
        EXPECT_EQ(refused_as(arr("double", {1})),
                  "TARVEL:invalidConversion invalidConversion(double, struct)");
        EXPECT_EQ(refused_as(arr("cell 1x1", nullptr)),
                  "TARVEL:invalidConversion invalidConversion(cell, struct)");
    }
}

TEST_F(StructureReference, HandsOutATemporary) {
    const lists_on lists;
    const array_ptr s = counting("1x3");
    const sub_list subs("2");
    ndArray_tag* const result = api::ndStructureReference(s.get(), subs.size(), subs.data(), 1);
    EXPECT_EQ(result->scope, ndTEMPORARY_SCOPE);
    EXPECT_EQ(content_text(result), "1x1: 20");
    matrix::destroyArray(result);
}

} // namespace
} // namespace test
