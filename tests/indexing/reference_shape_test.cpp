// The shapes of references: x(s) by the rule of one subscript, x(i, j, ...) by the counts.
#include "indexing/folded_dimensions.hpp"
#include "indexing/reference_support.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

namespace test {
namespace {

using matrix::array_ptr;
using ReferenceShape = NdTest;

TEST_F(ReferenceShape, OrientationIsTheOnlyDimensionThatIsntOne) {
    const struct {
        std::vector<std::size_t> dims;
        std::size_t position;
    } cases[] = {{{1, 5}, 2}, {{5, 1}, 1}, {{1, 1, 5}, 3}, {{1, 1}, 0},    {{3, 4}, 0},
                 {{0, 0}, 0}, {{0, 3}, 0}, {{1, 0}, 2},    {{1, 2, 2}, 0}, {{1, 1, 1, 0}, 4}};
    for (const auto& c : cases) EXPECT_EQ(matrix::internal::orient(c.dims), c.position);
}

TEST_F(ReferenceShape, FoldsDimensionsOntoTheSubscripts) {
    using list = matrix::internal::dims_list;
    using matrix::internal::folded_dimensions;
    const std::size_t dims[] = {2, 3, 4};
    EXPECT_EQ(folded_dimensions(dims, 1), (list{24}));
    EXPECT_EQ(folded_dimensions(dims, 2), (list{2, 12}));
    EXPECT_EQ(folded_dimensions(dims, 3), (list{2, 3, 4}));
    EXPECT_EQ(folded_dimensions(dims, 5), (list{2, 3, 4, 1, 1}));
    constexpr std::size_t huge = std::size_t{1} << 40;
    const std::size_t wrapping[] = {1, huge, huge, 0};
    EXPECT_EQ(folded_dimensions(wrapping, 2), (list{1, 0})) << "a product that doesn't fit, times 0";
}

// Of one subscript: the source, the subscript, and the shape with the positions that are selected.
struct linear_case {
    const char* source;
    array_ptr (*subscript)();
    const char* result;
    std::vector<number> elements;
};

const linear_case linear_cases[] = {
    // the colon
    {"double 3x4", colon, "double 12x1", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    {"double 0x0", colon, "double 0x1", {}},
    {"double 1x3", colon, "double 3x1", {1, 2, 3}},
    {"double 1x1x2", colon, "double 2x1", {1, 2}},
    {"double 3x0x2", colon, "double 0x1", {}},
    // ranges
    {"double 1x5", [] { return range(2, 1, 4); }, "double 1x3", {2, 3, 4}},
    {"double 5x1", [] { return range(5, -2, 1); }, "double 3x1", {5, 3, 1}},
    {"double 3x4", [] { return range(2, 1, 4); }, "double 1x3", {2, 3, 4}},
    {"double 1x1", [] { return range(1, 1, 1); }, "double 1x1", {1}},
    {"double 1x1x5", [] { return range(2, 1, 3); }, "double 1x1x2", {2, 3}},
    {"double 2x2x2", [] { return range(7, 1, 8); }, "double 1x2", {7, 8}},
    {"double 1x5", [] { return range(3, 1, 2); }, "double 1x0", {}},
    {"double 5x1", [] { return range(3, 1, 2); }, "double 0x1", {}},
    {"double 3x4", [] { return range(3, 1, 2); }, "double 1x0", {}},
    {"double 3x4", [] { return range(30, 1, 20); }, "double 1x0", {}},
    // logical
    {"double 3x4",
     [] {
         return arr("logical 3x4", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1});
     },
     "double 4x1",
     {1, 5, 9, 12}},
    {"double 3x4",
     [] {
         return arr("logical 1x12", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1});
     },
     "double 1x4",
     {1, 5, 9, 12}},
    {"double 3x4",
     [] {
         return arr("logical 1x1x12", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1});
     },
     "double 1x1x4",
     {1, 5, 9, 12}},
    {"double 3x4", [] { return arr("logical 1x1x12"); }, "double 1x1x0", {}},
    {"double 1x1",
     [] {
         return arr("logical 1x1x3", {1, 0, 0});
     },
     "double 1x1",
     {1}},
    {"double 3x4",
     [] {
         return arr("logical 2x1", {0, 1});
     },
     "double 1x1",
     {2}},
    {"double 1x4",
     [] {
         return arr("logical 4x1", {1, 0, 1, 0});
     },
     "double 1x2",
     {1, 3}},
    {"double 4x1",
     [] {
         return arr("logical 1x4", {1, 0, 1, 0});
     },
     "double 2x1",
     {1, 3}},
    {"double 4x1",
     [] {
         return arr("logical 2x2", {1, 0, 1, 0});
     },
     "double 2x1",
     {1, 3}},
    {"double 1x1x4",
     [] {
         return arr("logical 1x4", {1, 0, 1, 0});
     },
     "double 1x1x2",
     {1, 3}},
    {"double 1x1", [] { return arr("logical", {0}); }, "double 0x0", {}},
    {"double 3x4", [] { return arr("logical", {0}); }, "double 0x0", {}},
    {"double 1x4", [] { return arr("logical 0x0"); }, "double 0x0", {}},
    {"double 1x4",
     [] {
         return arr("logical 1x2", {0, 0});
     },
     "double 1x0",
     {}},
    {"double 3x4", [] { return arr("logical 3x4"); }, "double 0x1", {}},
    {"double 3x4", [] { return arr("logical 1x0"); }, "double 1x0", {}},
    {"double 1x1", [] { return arr("logical", {1}); }, "double 1x1", {1}},
    {"double 1x1",
     [] {
         return arr("logical 1x3", {1, 0, 0});
     },
     "double 1x1",
     {1}},
    {"double 3x4",
     [] {
         return sparse_arr("logical 3x4", {{1, 0, 1}, {2, 3, 1}});
     },
     "double 2x1",
     {2, 12}},
    {"double 1x4",
     [] {
         return sparse_arr("logical 4x1", {{1, 0, 1}});
     },
     "double 1x1",
     {2}},
    // numbers
    {"double 1x5",
     [] {
         return arr("double 2x1", {1, 2});
     },
     "double 1x2",
     {1, 2}},
    {"double 5x1",
     [] {
         return arr("double 1x2", {1, 2});
     },
     "double 2x1",
     {1, 2}},
    {"double 5x1",
     [] {
         return arr("double 2x1", {2, 2});
     },
     "double 2x1",
     {2, 2}},
    {"double 3x4",
     [] {
         return arr("double 1x2", {1, 2});
     },
     "double 1x2",
     {1, 2}},
    {"double 3x4",
     [] {
         return arr("double 2x1", {1, 2});
     },
     "double 2x1",
     {1, 2}},
    {"double 1x5",
     [] {
         return arr("double 2x2", {5, 4, 3, 2});
     },
     "double 2x2",
     {5, 4, 3, 2}},
    {"double 5x1",
     [] {
         return arr("int8 1x1x2", {5, 4});
     },
     "double 2x1",
     {5, 4}},
    {"double 3x4",
     [] {
         return arr("uint16 1x1x2", {5, 4});
     },
     "double 1x1x2",
     {5, 4}},
    {"double 1x1x5",
     [] {
         return arr("double 2x1", {1, 5});
     },
     "double 1x1x2",
     {1, 5}},
    {"double 1x1",
     [] {
         return arr("double 3x1", {1, 1, 1});
     },
     "double 3x1",
     {1, 1, 1}},
    {"double 1x1",
     [] {
         return arr("double 1x3", {1, 1, 1});
     },
     "double 1x3",
     {1, 1, 1}},
    {"double 1x5", [] { return arr("double", {4}); }, "double 1x1", {4}},
    {"double 1x1", [] { return arr("double 0x0"); }, "double 0x0", {}},
    {"double 1x1", [] { return arr("double 1x0"); }, "double 1x0", {}},
    {"double 1x5", [] { return arr("double 0x0"); }, "double 0x0", {}},
    {"double 1x5", [] { return arr("double 0x1"); }, "double 1x0", {}},
    {"double 3x4", [] { return arr("double 0x5"); }, "double 0x5", {}},
    {"double 3x4", [] { return arr("char", u"::"); }, "", {}},
    {"double 9x9", [] { return arr("char", u"A"); }, "double 1x1", {65}},
    // classes that select nothing, whatever their shape
    {"double 3x4", [] { return arr("cell 1x2"); }, "double 0x0", {}},
    {"double 1x4", [] { return struct_arr("2x2", {"f"}); }, "double 0x0", {}},
};

TEST_F(ReferenceShape, OfOneSubscript) {
    for (const linear_case& c : linear_cases) {
        const array_ptr source = numbered(c.source);
        const array_ptr subscript = c.subscript();
        SCOPED_TRACE(std::string(c.source) + " at " + array_text(subscript.get()));
        if (*c.result == '\0') {
            EXPECT_EQ(error_at(source, c.subscript()),
                      "TARVEL:badsubscript indexExceedsDims(1, 3x4, 58, 1, numeric)");
            continue;
        }
        EXPECT_THAT(at(source, c.subscript()), EqualsArray(arr(c.result, c.elements)));
    }
}

TEST_F(ReferenceShape, OfSeveralSubscriptsIsTheirCounts) {
    const array_ptr x = numbered("double 3x4");
    EXPECT_THAT(at(x, colon(), arr("double", {2})), EqualsArray(arr("double 3x1", {4, 5, 6})));
    EXPECT_THAT(at(x, arr("double", {2}), colon()), EqualsArray(arr("double 1x4", {2, 5, 8, 11})));
    EXPECT_THAT(at(x, arr("double 2x2", {1, 2, 3, 1}), range(4, -3, 1)),
                EqualsArray(arr("double 4x2", {10, 11, 12, 10, 1, 2, 3, 1})));
    EXPECT_THAT(at(x, arr("logical 1x3", {1, 0, 1}), arr("int8", {4})),
                EqualsArray(arr("double 2x1", {10, 12})));
    EXPECT_THAT(at(x, arr("logical", {0}), arr("logical", {0})), EqualsArray(arr("double 0x0")));
    EXPECT_THAT(at(x, arr("double 0x0"), colon()), EqualsArray(arr("double 0x4")));
    EXPECT_THAT(at(x, colon(), arr("cell 1x2")), EqualsArray(arr("double 3x0")));
    EXPECT_THAT(at(x, colon(), colon(), colon()), EqualsArray(numbered("double 3x4")));
    EXPECT_THAT(at(x, arr("double", {2}), arr("double", {3}), arr("double 1x2", {1, 1})),
                EqualsArray(arr("double 1x1x2", {8, 8})));
    const array_ptr nothing = arr("double 0x3");
    EXPECT_THAT(at(nothing, colon(), range(3, -2, 1)), EqualsArray(arr("double 0x2")));
}

TEST_F(ReferenceShape, TheLastSubscriptGoesThroughAllDimensionsThatFollow) {
    const array_ptr x = numbered("double 2x3x4");
    EXPECT_THAT(at(x, colon(), arr("double", {12})), EqualsArray(arr("double 2x1", {23, 24})));
    EXPECT_THAT(at(x, arr("double", {1}), range(1, 4, 12)), EqualsArray(arr("double 1x3", {1, 9, 17})));
    EXPECT_THAT(at(x, arr("double", {24})), EqualsArray(arr("double", {24})));
    EXPECT_THAT(at(x, colon(), arr("double 1x2", {3, 1}), arr("double", {2})),
                EqualsArray(arr("double 2x2", {11, 12, 7, 8})));
}

TEST_F(ReferenceShape, SubscriptsBehindTheLastDimensionAreOne) {
    const array_ptr x = numbered("double 1x5");
    EXPECT_THAT(at(x, arr("double", {1}), arr("double", {2}), arr("double", {1}), arr("double", {1})),
                EqualsArray(arr("double", {2})));
    EXPECT_THAT(at(x, colon(), range(2, 1, 3), colon(), arr("logical", {1})),
                EqualsArray(arr("double 1x2", {2, 3})));
    // Twelve: the lists have no room in place.
    subscripts many;
    for (int i = 0; i < 12; ++i) many.push_back(i == 1 ? arr("double 1x2", {5, 4}) : arr("double", {1}));
    EXPECT_THAT(referenced(x.get(), many), EqualsArray(arr("double 1x2", {5, 4})));
}

} // namespace
} // namespace test
