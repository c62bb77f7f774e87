// Where single slots lie, and how many elements subscripts select.
#include "indexing/colon_support.hpp"
#include "indexing/reference_support.hpp"
#include "matrix/containers.hpp"
#include "matrix/size_check.hpp"
#include "support/array_matchers.hpp"
#include "support/array_spec.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <cmath>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using ScalarReference = NdTest;

constexpr kvIndex untouched = 12345;

// "offset 7", "slot 2 exceeds", or what is raised. Both forms of the constant look and the one for assignment must agree.
std::string found(const ndArray_tag* x, const subscripts& subs, std::size_t field = 0) {
    const auto pointers = pointers_of(subs);
    kvIndex offset = untouched;
    kvIndex short_offset = untouched;
    kvIndex assigned_offset = untouched;
    kvSize failed = 0;
    kvSize assigned_failed = 0;
    ndScalarRefConstResult result = ndSCALAR_REF_IN_RANGE;
    const std::string error = error_of(
        [&] { result = api::ndScalarRefConst(&offset, failed, x, pointers.size(), pointers.data(), field); });
    if (!error.empty()) return offset == untouched && failed == 0 ? error : "wrote before it raised";
    const bool agree =
        api::ndScalarRefConst(&short_offset, x, pointers.size(), pointers.data(), field) == result &&
        api::ndScalarRefForAssignment(&assigned_offset, assigned_failed, x, pointers.size(), pointers.data(),
                                      field) == result;
    if (!agree || short_offset != offset || assigned_offset != offset || assigned_failed != failed)
        return "the forms differ";
    if (result == ndSCALAR_REF_IN_RANGE) return "offset " + std::to_string(static_cast<std::int64_t>(offset));
    return (offset == untouched ? "slot " : "wrote, slot ") + std::to_string(failed) + " exceeds";
}

array_ptr num(double x) { return arr("double", {x}); }

struct scalar_case {
    const char* source;
    subscripts (*subs)();
    const char* result;
};

const scalar_case scalar_cases[] = {
    {"cell 3x4", [] { return subs_of(num(1)); }, "offset 0"},
    {"cell 3x4", [] { return subs_of(num(12)); }, "offset 11"},
    {"cell 3x4", [] { return subs_of(num(13)); }, "slot 1 exceeds"},
    {"cell 3x4", [] { return subs_of(num(2), num(3)); }, "offset 7"},
    {"cell 3x4", [] { return subs_of(num(4), num(3)); }, "slot 1 exceeds"},
    {"cell 3x4", [] { return subs_of(num(3), num(5)); }, "slot 2 exceeds"},
    {"cell 3x4", [] { return subs_of(num(9), num(9)); }, "slot 1 exceeds"},
    {"cell 3x4", [] { return subs_of(num(2), num(3), num(1)); }, "offset 7"},
    {"cell 3x4", [] { return subs_of(num(2), num(3), num(2)); }, "slot 3 exceeds"},
    {"cell 2x3x4", [] { return subs_of(num(2), num(12)); }, "offset 23"},
    {"cell 2x3x4", [] { return subs_of(num(2), num(13)); }, "slot 2 exceeds"},
    {"cell 2x3x4", [] { return subs_of(num(1), num(2), num(3)); }, "offset 14"},
    {"cell 0x0", [] { return subs_of(num(1)); }, "slot 1 exceeds"},
    {"double 3x4", [] { return subs_of(num(2), num(2)); }, "offset 4"},
    // what stands for one index
    {"cell 3x4", [] { return subs_of(colon()); }, "offset 0"},
    {"cell 0x0", [] { return subs_of(colon()); }, "slot 1 exceeds"},
    {"cell 3x4", [] { return subs_of(range(3, 1, 9)); }, "offset 2"},
    {"cell 3x4", [] { return subs_of(range(3, 1, 2)); }, "offset 2"},
    {"cell 3x4", [] { return subs_of(range(0, 1, 9)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4", [] { return subs_of(range(1.5, 1, 9)); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 1.5, 1)"},
    {"cell 3x4",
     [] {
         return subs_of(arr("double 1x3", {5, 1, 2}));
     },
     "offset 4"},
    {"cell 3x4",
     [] {
         return subs_of(arr("logical 1x4", {0, 0, 1, 1}));
     },
     "offset 2"},
    {"cell 3x4",
     [] {
         return subs_of(arr("logical", {1}), arr("logical 1x2", {0, 1}));
     },
     "offset 3"},
    {"cell 3x4",
     [] {
         return subs_of(sparse_arr("logical 3x4", {{1, 2, 1}, {2, 2, 1}}));
     },
     "offset 7"},
    {"cell 3x4",
     [] {
         return subs_of(sparse_arr("double 1x1", {{0, 0, 4}}));
     },
     "offset 3"},
    {"cell 3x4",
     [] {
         return subs_of(sparse_arr("double 1x2", {{0, 1, 4}}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4",
     [] {
         return subs_of(sparse_arr("double 2x1", {{1, 0, 4}}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4", [] { return subs_of(sparse_arr("double 1x1", {})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 99x1", [] { return subs_of(arr("char", u"A")); }, "offset 64"},
    // index 0 of what selects nothing: one before the dimension begins
    {"cell 3x4", [] { return subs_of(arr("logical", {0})); }, "offset -1"},
    {"cell 3x4",
     [] {
         return subs_of(num(2), arr("logical 1x2", {0, 0}));
     },
     "offset -2"},
    {"cell 3x4", [] { return subs_of(sparse_arr("logical 2x2", {})); }, "offset -1"},
    {"cell 3x4", [] { return subs_of(arr("double 0x0")); }, "offset -1"},
    {"cell 3x4", [] { return subs_of(arr("int8 1x0")); }, "offset -1"},
    {"cell 3x4", [] { return subs_of(sparse_arr("double 0x0", {})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4", [] { return subs_of(arr("complex double 0x0")); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, none, 1)"},
    {"cell 3x4", [] { return subs_of(range(281474976710656.0, 1, 281474976710657.0)); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 281474976710656, 1, numeric)"},
    {"cell 3x4", [] { return subs_of(range(std::nan(""), 1, 2)); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, NaN, 1)"},
    {"cell 3x4", [] { return subs_of(arr("single", {std::nan("")})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, NaN, 1)"},
    // no indices
    {"cell 3x4", [] { return subs_of(num(0)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4", [] { return subs_of(num(99), num(1.5)); },
     "TARVEL:badsubscript badTypeIndices(2, 3x4, 1.5, 2)"},
    {"cell 3x4", [] { return subs_of(num(std::nan(""))); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, NaN, 1)"},
    {"cell 3x4", [] { return subs_of(num(-INFINITY)); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, -Inf, 1)"},
    {"cell 3x4", [] { return subs_of(arr("int8", {-3})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, -3, 1)"},
    {"cell 3x4", [] { return subs_of(arr("uint16", {0})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4", [] { return subs_of(arr("char 1x1", {0})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"cell 3x4",
     [] {
         return subs_of(arr("complex double", {{1, 1}}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, none, 1)"},
    {"cell 3x4", [] { return subs_of(arr("cell 1x1")); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, none, 1)"},
    {"cell 3x4", [] { return subs_of(struct_arr("1x1", {"f"})); },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, none, 1)"},
    {"cell 3x4", [] { return subs_of(num(1e15)); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 1e+15, 1, numeric)"},
    {"cell 3x4", [] { return subs_of(arr("uint64", {std::uint64_t{1} << 63})); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 9223372036854775808, 1, numeric)"},
    {"cell 3x4", [] { return subscripts(); }, "TARVEL:nindexIsZero nindexIsZero()"},
};

TEST_F(ScalarReference, TellsTheOffsetOrTheSlotThatExceeds) {
    for (const scalar_case& c : scalar_cases) {
        const array_ptr x = arr(c.source);
        SCOPED_TRACE(c.source + std::string(", ") + c.result);
        const snapshot before(x.get());
        EXPECT_EQ(found(x.get(), c.subs()), c.result);
        EXPECT_EQ(before.difference(), "");
    }
}

TEST_F(ScalarReference, TakesEveryRepresentationOfASubscript) {
    const array_ptr x = arr("cell 3x4");
    for_each_variation_of_value(arr("double 1x1", {7}), [&](array_ptr& s) {
        const ndArray_tag* const subs[] = {s.get()};
        kvIndex offset = 0;
        EXPECT_EQ(api::ndScalarRefConst(&offset, x.get(), 1, subs, 0), ndSCALAR_REF_IN_RANGE);
        EXPECT_EQ(offset, 6u);
    });
    for_each_class(class_set::with_bytes, [&](const class_case& c) {
        if (c.complexity == ndCOMPLEX || c.id == ndLOGICAL_CLASS) return;
        EXPECT_EQ(found(x.get(), subs_of(arr(c.name, {7}))), "offset 6");
    });
    array_ptr split = num(7);
    ASSERT_TRUE(split->split_data(true));
    EXPECT_EQ(found(x.get(), subs_of(std::move(split))), "offset 6");
}

// There are elements, but nothing tells what they are; index 0 would be an offset before the array.
TEST_F(ScalarReference, RefusesASubscriptWithoutData) {
    const array_ptr x = arr("cell 3x4");
    for (const char* const description :
         {"double 1x1", "double 1x3", "int8 1x2", "char 1x2", "logical 1x3", "logical 1x1"}) {
        const subscripts subs = subs_of(numbered(description));
        void* const data = std::exchange(subs[0]->pdata, nullptr);
        EXPECT_EQ(found(x.get(), subs), "TARVEL:badsubscript badTypeIndices(1, 3x4, none, 1)") << description;
        subs[0]->pdata = data;
    }
    const subscripts mask = subs_of(sparse_arr("logical 3x4", {{1, 2, 1}}));
    const subscripts number = subs_of(sparse_arr("double 1x1", {{0, 0, 4}}));
    for (const subscripts* const subs : {&mask, &number}) {
        ndArray_tag* const subscript = subs->front().get();
        const std::uint64_t rows = std::exchange(subscript->info_a, 0);
        const char* const value = subs == &mask ? "none" : "0";
        EXPECT_EQ(found(x.get(), *subs),
                  std::string("TARVEL:badsubscript badTypeIndices(1, 3x4, ") + value + ", 1)");
        subscript->info_a = rows;
    }
}

TEST_F(ScalarReference, CountsAllColumnsOfASparseMask) {
    const array_ptr mask = sparse_arr("logical 2x6", {{1, 4, 1}, {1, 5, 1}});
    const ndArray_tag* const subs[] = {mask.get()};
    const std::size_t folded[] = {2, 3, 2};
    mask->set_dimensions(folded);
    kvIndex offset = untouched;
    EXPECT_EQ(api::ndScalarRefConst(&offset, arr("cell 3x4").get(), 1, subs, 0), ndSCALAR_REF_IN_RANGE);
    EXPECT_EQ(offset, 9u);
}

TEST_F(ScalarReference, OfAFieldCountsItsSlotsFirst) {
    const array_ptr s = struct_arr("2x2", {"a", "b", "c"});
    EXPECT_EQ(found(s.get(), subs_of(num(1)), 1), "offset 0");
    EXPECT_EQ(found(s.get(), subs_of(num(2), num(2)), 3), "offset 11");
    EXPECT_EQ(found(s.get(), subs_of(num(5)), 3), "slot 2 exceeds");
    EXPECT_EQ(found(s.get(), subs_of(num(1), num(3)), 3), "slot 3 exceeds");
    EXPECT_EQ(found(s.get(), subs_of(num(1)), 4), "slot 1 exceeds");
}

TEST_F(ScalarReference, ForAssignmentSaysThatAnIndexIsTooLarge) {
    const array_ptr x = arr("cell 3x4");
    array_ptr beyond = sparse_arr("logical 4x3", {{3, 1, 1}});
    beyond->set_dimensions(
        std::vector<std::size_t>{281474976710655, 3}); // its one element lies behind every index
    for (const array_ptr& s : subs_of(num(1e15), arr("int64", {std::int64_t{1} << 48}), std::move(beyond))) {
        const ndArray_tag* const subs[] = {s.get()};
        kvIndex offset = untouched;
        kvSize failed = 0;
        EXPECT_EQ(error_of([&] { api::ndScalarRefForAssignment(&offset, failed, x.get(), 1, subs, 0); }),
                  "TARVEL:pmaxsize pmaxsize()");
        EXPECT_NE(
            error_of([&] { api::ndScalarRefConst(&offset, x.get(), 1, subs, 0); }).find("indexExceedsDims"),
            std::string::npos);
        EXPECT_EQ(offset, untouched);
    }
    kvIndex offset = 0;
    kvSize failed = 0;
    const array_ptr bad = num(1.5);
    const ndArray_tag* const subs[] = {bad.get()};
    EXPECT_EQ(error_of([&] { api::ndScalarRefForAssignment(&offset, failed, x.get(), 1, subs, 0); }),
              "TARVEL:badsubscript badTypeIndices(1, , 1.5, 1)");
}

// "offset 7" and whether the array grew, or what is raised.
std::string written(ndArray_tag* x, const subscripts& subs, std::size_t field = 0, bool keep = true) {
    const auto pointers = pointers_of(subs);
    bool grew = false;
    kvIndex offset = 0;
    const std::string error =
        error_of([&] { offset = api::ndScalarRef(x, pointers.size(), pointers.data(), field, keep, grew); });
    return error.empty() ? (grew ? "grew, offset " : "offset ") + std::to_string(offset) : error;
}

TEST_F(ScalarReference, ToBeWrittenStaysWhereItFits) {
    const array_ptr x = arr("cell 2x2", num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(x.get(), subs_of(num(2), num(2))), "offset 3");
    EXPECT_THAT(x, EqualsArray(arr("cell 2x2", num(1), num(2), num(3), num(4))));
}

TEST_F(ScalarReference, ToBeWrittenGrowsTheCell) {
    const array_ptr x = arr("cell 2x2", num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(x.get(), subs_of(num(3), num(3))), "grew, offset 8");
    EXPECT_THAT(x, EqualsArray(arr("cell 3x3", num(1), num(2), nullptr, num(3), num(4), nullptr, nullptr,
                                   nullptr, nullptr)));
    const array_ptr row = arr("cell 1x2", num(1), num(2));
    EXPECT_EQ(written(row.get(), subs_of(num(4))), "grew, offset 3");
    EXPECT_THAT(row, EqualsArray(arr("cell 1x4", num(1), num(2), nullptr, nullptr)));
    const array_ptr column = arr("cell 2x1", num(1), num(2));
    EXPECT_EQ(written(column.get(), subs_of(num(3))), "grew, offset 2");
    EXPECT_THAT(column, EqualsArray(arr("cell 3x1", num(1), num(2), nullptr)));
    const array_ptr deep = arr("cell 1x1", num(1));
    EXPECT_EQ(written(deep.get(), subs_of(num(1), num(2), num(2))), "grew, offset 3");
    EXPECT_THAT(deep, EqualsArray(arr("cell 1x2x2", num(1), nullptr, nullptr, nullptr)));
    const array_ptr nothing = arr("cell 0x0");
    EXPECT_EQ(written(nothing.get(), subs_of(num(2))), "grew, offset 1");
    EXPECT_THAT(nothing, EqualsArray(arr("cell 1x2")));
}

TEST_F(ScalarReference, ToBeWrittenKeepsSpareRoom) {
    const array_ptr x = arr("cell 1x1000");
    EXPECT_EQ(written(x.get(), subs_of(num(1001))), "grew, offset 1000");
    EXPECT_TRUE(x->flags & matrix::flag_capacity_tracked);
    const void* const block = x->pdata;
    EXPECT_EQ(written(x.get(), subs_of(num(1024))), "grew, offset 1023");
    EXPECT_EQ(x->pdata, block);
    EXPECT_THAT(x, EqualsArray(arr("cell 1x1024")));
}

TEST_F(ScalarReference, ToBeWrittenWithoutItsSlotsLosesNone) {
    const array_ptr x = arr("cell 2x2", num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(x.get(), subs_of(num(3), num(3)), 0, false), "grew, offset 8");
    EXPECT_THAT(x, EqualsArray(arr("cell 3x3", num(1), num(2), num(3), num(4), nullptr, nullptr, nullptr,
                                   nullptr, nullptr)));
}

TEST_F(ScalarReference, ToBeWrittenMakesACellOfWhatIsEmpty) {
    for (const char* const description : {"double 0x0", "unknown 0x0", "char 0x0", "logical 0x0"}) {
        SCOPED_TRACE(description);
        const array_ptr x = arr(description);
        x->flags |= matrix::flag_empty_square_bracket;
        EXPECT_EQ(written(x.get(), subs_of(num(3))), "grew, offset 2");
        EXPECT_FALSE(x->flags & matrix::flag_empty_square_bracket);
        EXPECT_THAT(x, EqualsArray(arr("cell 1x3")));
    }
    const array_ptr sparse = sparse_arr("double 0x0", {});
    EXPECT_EQ(written(sparse.get(), subs_of(num(1), num(2))), "grew, offset 1");
    EXPECT_THAT(sparse, EqualsArray(arr("cell 1x2")));
    const array_ptr numbers = arr("double 1x2", {1, 2});
    EXPECT_EQ(written(numbers.get(), subs_of(num(3))), "TARVEL:invalidInput invalidInput()");
    EXPECT_THAT(numbers, EqualsArray(arr("double 1x2", {1, 2})));
}

TEST_F(ScalarReference, ToBeWrittenGrowsTheStruct) {
    const array_ptr s = struct_arr("1x2", {"a", "b"}, num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(s.get(), subs_of(num(2)), 2), "offset 3");
    EXPECT_EQ(written(s.get(), subs_of(num(4)), 2), "grew, offset 7");
    EXPECT_THAT(s, EqualsArray(struct_arr("1x4", {"a", "b"}, num(1), num(2), num(3), num(4), nullptr, nullptr,
                                          nullptr, nullptr)));
    EXPECT_EQ(written(s.get(), subs_of(num(2), num(1)), 1), "grew, offset 2");
    EXPECT_EQ(s->class_id, ndSTRUCT_CLASS);
    EXPECT_EQ(written(s.get(), subs_of(num(1)), 3), "TARVEL:badargs badargs()");
}

TEST_F(ScalarReference, ToBeWrittenThroughAFieldKeepsTheClass) {
    const array_ptr s = struct_arr("1x2", {"a", "b"}, num(1), num(2), num(3), num(4));
    ASSERT_EQ(api::ndSetClassName(s.get(), "thing"), 0);
    EXPECT_EQ(written(s.get(), subs_of(num(3)), 2), "grew, offset 5");
    EXPECT_EQ(s->class_id, ndOBJECT_CLASS);
    EXPECT_STREQ(api::ndGetClassName(s.get()), "thing");
    EXPECT_EQ(s->n_or_ndims, 3u);
    // What has no fields has no slot of one, and doesn't become a struct.
    for (const char* const description : {"double 0x0", "unknown 0x0", "cell 1x2", "double 2x2"}) {
        SCOPED_TRACE(description);
        const array_ptr x = arr(description);
        if (x->m_or_dims == 0) x->flags |= matrix::flag_empty_square_bracket;
        const snapshot before(x.get());
        EXPECT_EQ(written(x.get(), subs_of(num(1)), 1), "TARVEL:badargs badargs()");
        EXPECT_EQ(found(x.get(), subs_of(num(1)), 1), "slot 1 exceeds");
        EXPECT_EQ(before.difference(), "");
    }
    const array_ptr sparse = sparse_arr("double 20x20", {{9, 0, 1}, {19, 1, 2}});
    EXPECT_EQ(found(sparse.get(), subs_of(num(1)), 9), "slot 1 exceeds") << "its row indices are no fields";
}

TEST_F(ScalarReference, ToBeWrittenThroughAFieldWithoutItsSlotsLosesNone) {
    const array_ptr s = struct_arr("1x2", {"a", "b"}, num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(s.get(), subs_of(num(2), num(3)), 1, false), "grew, offset 10");
    EXPECT_THAT(s, EqualsArray(struct_arr("2x3", {"a", "b"}, num(1), num(2), num(3), num(4), nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
}

TEST_F(ScalarReference, ToBeWrittenGrowsWithFewerSubscriptsThanDimensions) {
    const auto grown = [](array_ptr x, std::size_t field, double row, double column) {
        const std::string result = written(x.get(), subs_of(num(row), num(column)), field);
        const auto dims = matrix::internal::dims_of(x.get());
        return result + ", " + dims_text({dims.begin(), dims.end()});
    };
    const auto cell = [] { return arr("cell 2x3x2"); };
    const auto fields = [] { return struct_arr("2x3x2", {"a", "b"}); };
    EXPECT_EQ(grown(cell(), 0, 3, 6), "grew, offset 17, 3x3x2");
    EXPECT_EQ(grown(fields(), 2, 3, 6), "grew, offset 35, 3x3x2");
    EXPECT_EQ(grown(cell(), 0, 2, 7),
              "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth(), 2x3x2");
    EXPECT_EQ(grown(fields(), 1, 2, 7),
              "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth(), 2x3x2");
}

// Index 0, of a subscript that selects nothing, is one before the dimension also where another subscript lets the array grow.
TEST_F(ScalarReference, ToBeWrittenGrowsBesideAnIndexOfNothing) {
    const array_ptr x = arr("cell 2x2", num(1), num(2), num(3), num(4));
    EXPECT_EQ(written(x.get(), subs_of(arr("logical", {0}), num(3))), "grew, offset 3");
    EXPECT_THAT(x, EqualsArray(arr("cell 2x3", num(1), num(2), num(3), num(4), nullptr, nullptr)));
}

TEST_F(ScalarReference, ToBeWrittenKeepsTheMarksOfTheUser) {
    constexpr std::uint32_t marks = 0xAB000000U | matrix::flag_from_global_workspace;
    for (const char* const description : {"cell 0x0", "double 0x0", "unknown 0x0"}) {
        const array_ptr x = arr(description);
        x->flags |= marks | matrix::flag_empty_square_bracket;
        EXPECT_EQ(written(x.get(), subs_of(num(2))), "grew, offset 1");
        EXPECT_EQ(x->class_id, ndCELL_CLASS);
        EXPECT_EQ(x->flags & (matrix::flag_user_mask | matrix::flag_from_global_workspace |
                              matrix::flag_empty_square_bracket),
                  marks)
            << description;
    }
}

TEST_F(ScalarReference, ToBeWrittenRefusesGrowthThatNobodyCanTell) {
    const array_ptr x = arr("cell 2x2", num(1), num(2), num(3), num(4));
    const snapshot before(x.get());
    EXPECT_EQ(written(x.get(), subs_of(num(5))),
              "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()");
    EXPECT_EQ(written(x.get(), subs_of(num(281474976710655.0), num(9))), "TARVEL:pmaxsize pmaxsize()");
    EXPECT_EQ(written(x.get(), subs_of(num(1e15))), "TARVEL:pmaxsize pmaxsize()");
    EXPECT_EQ(written(x.get(), subs_of(num(0))), "TARVEL:badsubscript badTypeIndices(1, , 0, 1)");
    EXPECT_EQ(written(x.get(), subscripts()), "TARVEL:nindexIsZero nindexIsZero()");
    EXPECT_EQ(before.difference(), "");
}

struct count_case {
    const char* source;
    array_ptr (*subscript)();
    kvSize position;
    kvSize nsubs;
    kvSize count;
};

array_ptr a_byte_of_two() {
    array_ptr mask = arr("logical 1x3", {1, 0, 1});
    static_cast<std::uint8_t*>(mask->pdata)[2] = 2;
    return mask;
}

const count_case count_cases[] = {
    {"double 2x3x4", colon, 1, 1, 24},
    {"double 2x3x4", colon, 1, 2, 2},
    {"double 2x3x4", colon, 2, 2, 12},
    {"double 2x3x4", colon, 3, 3, 4},
    {"double 2x3x4", colon, 3, 5, 4},
    {"double 2x3x4", colon, 4, 5, 1},
    {"double 2x3x4", colon, 5, 5, 1},
    {"double 2x0x4", colon, 5, 5, 0},
    {"double 2x0x4", colon, 2, 2, 0},
    {"double 3x4", colon, 1, 1, 12},
    {"double 3x4", colon, 2, 1, 4},
    {"double 3x4", colon, 3, 1, 1},
    {"double 3x4", [] { return range(1, 2, 9); }, 1, 1, 5},
    {"double 3x4", [] { return range(9, 2, 1); }, 1, 1, 0},
    {"double 3x4", [] { return matrix::create_int_colon_object(2LL, 3LL, 12LL, ndINT64_CLASS); }, 1, 1, 4},
    {"double 3x4", [] { return matrix::create_int_colon_object(9ULL, -2.0, 1ULL, ndUINT64_CLASS); }, 1, 1, 5},
    {"double 3x4", [] { return arr("char", u"a"); }, 1, 1, 1},
    {"double 3x4", a_byte_of_two, 1, 1, 2}, // each byte counts once, as it selects
    {"double 3x4",
     [] {
         return arr("logical 2x2", {1, 0, 1, 1});
     },
     1, 1, 3},
    {"double 3x4",
     [] {
         return sparse_arr("logical 9x9", {{1, 1, 1}, {3, 3, 1}});
     },
     1, 1, 2},
    {"double 3x4", [] { return arr("double 2x3"); }, 2, 2, 6},
    {"double 3x4", [] { return arr("char", u"abc"); }, 2, 2, 3},
    {"double 3x4", [] { return arr("int8 0x3"); }, 2, 2, 0},
};

TEST_F(ScalarReference, CountsWhatASubscriptSelects) {
    for (const count_case& c : count_cases) {
        const array_ptr x = arr(c.source);
        const array_ptr s = c.subscript();
        kvSize count = 99;
        EXPECT_TRUE(api::ndSubsCount(x.get(), s.get(), c.position, c.nsubs, &count));
        EXPECT_EQ(count, c.count) << c.source << " at " << array_text(s.get()) << ", " << c.position << " of "
                                  << c.nsubs;
    }
    const array_ptr x = arr("double 2x3x4");
    kvSize count = 99;
    EXPECT_TRUE(api::ndSubsCount(x.get(), colon().get(), 2, 1, &count));
    EXPECT_EQ(count, 99u) << "behind the last subscript, before the last dimension";
    for (const array_ptr& s : subs_of(arr("cell 1x2"), struct_arr("1x1", {"f"}), arr("unknown 2x3"))) {
        count = 99;
        EXPECT_FALSE(api::ndSubsCount(x.get(), s.get(), 1, 1, &count)) << s->class_id;
        EXPECT_EQ(count, 0u);
    }
    const silent_warnings warnings;
    EXPECT_TRUE(api::ndSubsCount(x.get(), range(1.5, 1, 4).get(), 1, 1, &count));
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(warnings.count(), 1u);
}

// The dimensions of its header are those of its operands.
TEST_F(ScalarReference, CountsTheElementsOfARange) {
    const array_ptr hundred = range(1, 1, 100);
    const array_ptr nothing = range(1, 1, 0);
    struct {
        const ndArray_tag* source;
        kvSize position, nsubs, count;
    } const rows[] = {
        {hundred.get(), 1, 1, 100}, {hundred.get(), 1, 2, 1}, {hundred.get(), 2, 2, 100},
        {hundred.get(), 3, 3, 1},   {nothing.get(), 1, 1, 0}, {nothing.get(), 3, 3, 0},
    };
    for (const auto& row : rows) {
        kvSize count = 99;
        EXPECT_TRUE(api::ndSubsCount(row.source, colon().get(), row.position, row.nsubs, &count));
        EXPECT_EQ(count, row.count) << row.position << " of " << row.nsubs;
    }
}

TEST_F(ScalarReference, CountsNothingTrueWithoutData) {
    const array_ptr mask = arr("logical 1x3", {1, 0, 1});
    void* const data = std::exchange(mask->pdata, nullptr);
    kvSize count = 99;
    EXPECT_TRUE(api::ndSubsCount(numbered("double 1x3").get(), mask.get(), 1, 1, &count));
    EXPECT_EQ(count, 0u);
    mask->pdata = data;
}

} // namespace
} // namespace test
