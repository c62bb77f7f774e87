// Indices as the interface takes and gives them.
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/memory.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>
#include <nd/subscripts.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using index_list = std::vector<kvSize>;

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::nan("");
constexpr double two_48 = 281474976710656.0;

using CheckIndex = NdTest;

TEST_F(CheckIndex, CutsNumbersToIndices) {
    struct {
        double value;
        kvSize index;
    } const rows[] = {
        {0, 0},
        {-0.0, 0},
        {1, 1},
        {2.9, 2},
        {-3.7, 0},
        {-inf, 0},
        {-1e300, 0},
        {0.99, 0},
        {1e15 / 8, 125000000000000},
        {two_48 - 1, 281474976710655},
    };
    for (const auto& row : rows) EXPECT_EQ(api::ndCheckIndex(row.value), row.index) << row.value;
}

TEST_F(CheckIndex, RefusesWhatIsTooLargeOrNotFinite) {
    for_each_module_mode([](int) {
        EXPECT_EQ(error_of([] { api::ndCheckIndex(nan); }), "TARVEL:nonaninf nonaninf()");
        EXPECT_EQ(error_of([] { api::ndCheckIndex(inf); }), "TARVEL:nonaninf nonaninf()");
        for (const double x : {two_48, two_48 - 0.5, 1e300, std::numeric_limits<double>::max()})
            EXPECT_EQ(error_of([&] { api::ndCheckIndex(x); }), "TARVEL:pmaxsize pmaxsize()") << x;
    });
}

using ArgumentsAsIndices = NdTest;

constexpr kvSize untouched = 77;

index_list indices_of(const ndArray_tag* arg, std::size_t n) {
    index_list out(n + 1, untouched);
    api::ndArgMustBeIndices(arg, n, out.data());
    EXPECT_EQ(out.back(), untouched) << "no more than asked for";
    out.pop_back();
    return out;
}

TEST_F(ArgumentsAsIndices, AreReadByTheirClass) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.complexity == ndCOMPLEX) return;
        const bool truth = c.id == ndLOGICAL_CLASS;
        const array_ptr x = truth ? arr("logical 1x3", {1, 0, 1}) : arr(c.name + " 1x3", {4, 0, 6});
        EXPECT_EQ(indices_of(x.get(), 3), truth ? (index_list{1, 0, 1}) : (index_list{4, 0, 6}));
    });
    for_each_variation(arr("double 2x2", {4, 0, 6, 5}), [](array_ptr& x) {
        EXPECT_EQ(indices_of(x.get(), 4), (index_list{4, 0, 6, 5}));
    });
    EXPECT_EQ(indices_of(arr("double 1x3", {-1, -2.5, 3}).get(), 3), (index_list{0, 0, 3}));
    EXPECT_EQ(indices_of(arr("int8 1x2", {-1, 3}).get(), 2), (index_list{0, 3}));
    EXPECT_EQ(indices_of(arr("double 1x2", {-inf, two_48 - 1}).get(), 2), (index_list{0, 281474976710655}));
    EXPECT_EQ(indices_of(sparse_arr("double 2x3", {{1, 0, 7}, {0, 2, 8}}).get(), 6),
              (index_list{0, 7, 0, 0, 8, 0}));
    const array_ptr folded = sparse_arr("double 1x4", {{0, 1, 7}, {0, 3, 8}});
    const std::size_t dims[] = {1, 2, 2};
    folded->set_dimensions(dims);
    EXPECT_EQ(indices_of(folded.get(), 4), (index_list{0, 7, 0, 8}));
    const std::size_t without_rows[] = {0, 4};
    folded->set_dimensions(without_rows);
    EXPECT_EQ(indices_of(folded.get(), 0), index_list{});
    EXPECT_EQ(indices_of(matrix::create_colon_object(2, 2, 6).get(), 3), (index_list{2, 4, 6}));
    const array_ptr split = arr("double 1x2", {5, 6});
    ASSERT_TRUE(split->split_data(true));
    EXPECT_EQ(indices_of(split.get(), 2), (index_list{5, 6}));
}

TEST_F(ArgumentsAsIndices, AreZerosForAnEmptyArray) {
    for (const char* const description :
         {"double 0x0", "double 3x0", "cell 0x0", "char 0x0", "complex double 0x0"})
        EXPECT_EQ(indices_of(arr(description).get(), 3), (index_list{0, 0, 0})) << description;
    EXPECT_EQ(indices_of(arr("double 0x0").get(), 0), index_list{});
    EXPECT_EQ(indices_of(matrix::create_colon_object(2, 1, 1).get(), 2), (index_list{0, 0}));
}

TEST_F(ArgumentsAsIndices, AreRefusedInOrder) {
    struct {
        array_ptr arg;
        std::size_t n;
        const char* error;
    } const rows[] = {
        {arr("double 1x2", {1, 2}), 3, "TARVEL:badopt badopt()"},
        {arr("double 1x2", {1, 2}), 1, "TARVEL:NonScalarInput NonScalarInput()"},
        {arr("double 1x2", {1, 2}), 0, "TARVEL:NonScalarInput NonScalarInput()"},
        {arr("complex double 1x2", {{1, 2}, 2}), 3, "TARVEL:badopt badopt()"},
        {arr("complex double 1x2", {{1, 2}, 2}), 2, "TARVEL:obsoleteComplexInput obsoleteComplexInput()"},
        {arr("complex double 0x0"), 0, "TARVEL:obsoleteComplexInput obsoleteComplexInput()"},
        {arr("cell 1x2"), 2, "TARVEL:badopt badopt()"},
        {struct_arr("1x2", {"a"}), 2, "TARVEL:badopt badopt()"},
        {arr("double 1x2", {1, nan}), 2, "TARVEL:nonaninf nonaninf()"},
        {arr("double 1x2", {1, inf}), 2, "TARVEL:nonaninf nonaninf()"},
        {arr("single 1x2", {1, inf}), 2, "TARVEL:nonaninf nonaninf()"},
        {arr("double 1x2", {1, two_48}), 2, "TARVEL:pmaxsize pmaxsize()"},
        {arr("uint64 1x2", {1, std::numeric_limits<std::uint64_t>::max()}), 2, "TARVEL:pmaxsize pmaxsize()"},
        {arr("double 1x2", {1, 1.5}), 2, "TARVEL:NonIntegerInput nonIntegerInput()"},
        {arr("single 1x2", {0.25, 1}), 2, "TARVEL:NonIntegerInput nonIntegerInput()"},
        {matrix::create_colon_object(2, 2, 6), 4, "TARVEL:badopt badopt()"},
    };
    for_each_module_mode([&](int) {
        for (const auto& row : rows) {
            index_list out(row.n, untouched);
            EXPECT_EQ(error_of([&] { api::ndArgMustBeIndices(row.arg.get(), row.n, out.data()); }),
                      row.error);
            EXPECT_EQ(out, index_list(row.n, untouched)) << "nothing is written: " << row.error;
        }
    });
}

TEST_F(ArgumentsAsIndices, WithoutDataAreRefused) {
    struct {
        array_ptr arg;
        std::size_t n;
        const char* error;
    } const rows[] = {
        {arr("double 1x2", {1, 2}), 2, "TARVEL:badopt badopt()"},
        {arr("logical", {1}), 1, "TARVEL:badopt badopt()"},
        {matrix::create_colon_object(2, 2, 6), 3, "TARVEL:badopt badopt()"}, // three words, no range
        {sparse_arr("double 2x2", {{0, 0, 3}}), 4, "TARVEL:badopt badopt()"},
        {arr("double 0x2"), 0, ""},
    };
    for (const auto& row : rows) {
        void* const data = std::exchange(row.arg->pdata, nullptr);
        index_list out(row.n, untouched);
        EXPECT_EQ(error_of([&] { api::ndArgMustBeIndices(row.arg.get(), row.n, out.data()); }), row.error);
        EXPECT_EQ(out, index_list(row.n, untouched));
        row.arg->pdata = data;
    }
    const array_ptr sparse = sparse_arr("double 2x2", {{0, 0, 3}});
    const array_ptr skeleton(api::ndCreateSkeletonCopy(sparse.get(), ndREAL));
    EXPECT_EQ(indices_of(skeleton.get(), 4), (index_list{0, 0, 0, 0})) << "it stores nothing";
    const std::uint64_t rows_of_it = std::exchange(sparse->info_a, 0);
    EXPECT_EQ(error_of([&] { indices_of(sparse.get(), 4); }), "TARVEL:badopt badopt()");
    sparse->info_a = rows_of_it;
}

using ConvertToIndex = NdTest;

TEST_F(ConvertToIndex, GivesAListThatTheCallerFrees) {
    struct {
        array_ptr subscript;
        std::size_t dim;
        int result;
        kvSize count, max;
        index_list positions;
    } const rows[] = {
        {arr("double 1x3", {3, 1, 2}), 5, 0, 3, 3, {2, 0, 1}},
        {arr("logical 1x3", {0, 1, 0}), 5, 0, 1, 2, {1}},
        {matrix::create_colon_object(5, -2, 1), 5, 0, 3, 5, {4, 2, 0}},
        {arr("char", u":"), 5, -1, 5, 5, {}},
        {arr("char", u":"), 0, -1, 0, 0, {}},
        {arr("double 0x0"), 5, 1, 0, 0, {}},
        {arr("logical 1x2", {0, 0}), 5, 1, 0, 0, {}},
        {matrix::create_colon_object(1, 1, 0), 5, 1, 0, 0, {}},
        {arr("cell 1x2"), 5, 1, 0, 0, {}},
    };
    for (const auto& row : rows) {
        const ndArray_tag* const subscript = row.subscript.get();
        kvSize count = untouched;
        kvSize max = untouched;
        kvIndex* positions = nullptr;
        EXPECT_EQ(api::ndConvertToIndex(&subscript, row.dim, &count, &max, &positions, growing()),
                  row.result);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(max, row.max);
        ASSERT_EQ(positions == nullptr, row.positions.empty());
        EXPECT_TRUE(std::equal(row.positions.begin(), row.positions.end(), positions));
        api::ndFreeEx(positions);
    }
}

TEST_F(ConvertToIndex, LeavesItsResultsAloneWhenItRaises) {
    for_each_module_mode([](int) {
        const array_ptr bad = arr("double 1x2", {1, 0});
        const ndArray_tag* const subscript = bad.get();
        kvSize count = untouched;
        kvSize max = untouched;
        kvIndex mark = 0;
        kvIndex* positions = &mark;
        EXPECT_EQ(error_of([&] {
                      api::ndConvertToIndex(&subscript, 5, &count, &max, &positions, within_3x4(2, 2));
                  }),
                  "TARVEL:badsubscript badTypeIndices(2, 3x4, 0, 2)");
        EXPECT_EQ(count, untouched);
        EXPECT_EQ(max, untouched);
        EXPECT_EQ(positions, &mark);
    });
}

} // namespace
} // namespace test
