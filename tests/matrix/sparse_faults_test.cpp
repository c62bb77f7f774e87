// Every allocation of the sparse creators and of what copies or replaces sparse blocks fails once.
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>
#include <nd/sparse.hpp>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using SparseFaults = NdTest;

// Header, values, rows and column starts.
constexpr long blocks_of_a_sparse_array = 4;

TEST_F(SparseFaults, Creators) {
    struct {
        const char* name;
        ndArray_tag* (*make)();
    } constexpr rows[] = {
        {"ndCreateSparse", [] { return api::ndCreateSparse(3, 4, 5, ndREAL); }},
        {"ndCreateSparse, complex", [] { return api::ndCreateSparse(3, 4, 5, ndCOMPLEX); }},
        {"ndCreateSparse, no columns", [] { return api::ndCreateSparse(0, 0, 0, ndREAL); }},
        {"ndCreateSparseLogicalMatrix", [] { return api::ndCreateSparseLogicalMatrix(3, 4, 5); }},
        {"ndCreateSparseNumericMatrix",
         [] { return api::ndCreateSparseNumericMatrix(3, 4, 5, ndSINGLE_CLASS, ndREAL); }},
    };
    for (const auto& row : rows) {
        const fault_report report =
            for_each_failing_alloc(row.name, [&](fault_run& run) { run.act([&] { return row.make(); }); },
                                   {.framed = true, .second_within = 3});
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, blocks_of_a_sparse_array);
        EXPECT_EQ(report.recovered, 0);
    }
    for (const bool zeroed : {true, false}) {
        const fault_report report = for_each_failing_alloc("do_create_sparse", [&](fault_run& run) {
            run.act(
                [&] { return matrix::detail::do_create_sparse(3, 4, 5, ndDOUBLE_CLASS, ndREAL, zeroed); });
        });
        EXPECT_TRUE(report.passed);
        EXPECT_EQ(report.recovered, 0);
    }
}

array_ptr three_by_two() { return sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}}, 4); }

kvIndex* vector_of_four() {
    auto* const vector = static_cast<kvIndex*>(api::ndMallocEx(4 * sizeof(kvIndex)));
    const kvIndex sound[] = {0, 1, 2, 2};
    std::memcpy(vector, sound, sizeof sound);
    return vector;
}

// A setter of a shared array needs blocks of its own first. Where errors aren't raised it tells by leaving the array as it is.
TEST_F(SparseFaults, SettersOfSharedArrays) {
    struct setter {
        const char* name;
        void (*set)(ndArray_tag*, kvIndex*);
        kvIndex* (*get)(const ndArray_tag*);
    };
    constexpr setter setters[] = {{"ndSetIr", api::ndSetIr, api::ndGetIr},
                                  {"ndSetJc", api::ndSetJc, api::ndGetJc}};
    for (const setter& s : setters) {
        const fault_report report =
            for_each_failing_alloc(s.name,
                                   [&](fault_run& run) {
                                       const array_ptr sharer = three_by_two();
                                       const array_ptr array = matrix::detail::do_shared_copy(sharer.get());
                                       kvIndex* const vector = vector_of_four();
                                       run.operand(array.get());
                                       run.operand(sharer.get());
                                       run.act([&] {
                                           s.set(array.get(), vector);
                                           return s.get(array.get()) == vector;
                                       });
                                       EXPECT_EQ(s.get(array.get()), vector);
                                       EXPECT_THAT(sharer, EqualsArray(three_by_two()));
                                       EXPECT_EQ(matrix::internal::validate(array.get()), "");
                                   },
                                   {.framed = true});
        EXPECT_TRUE(report.passed);
        EXPECT_EQ(report.points, 2); // values and the other vector
    }
}

TEST_F(SparseFaults, CopiesAndChanges) {
    struct {
        const char* name;
        ndArray_tag* (*copy)(const ndArray_tag*);
    } constexpr copies[] = {
        {"deep copy", api::ndCreateDeepCopy},
        {"empty copy", api::ndCreateEmptyCopy},
        {"shared copy", api::ndCreateSharedDataCopy},
        {"skeleton copy", [](const ndArray_tag* a) { return api::ndCreateSkeletonCopy(a, ndREAL); }},
    };
    for (const auto& row : copies) {
        const fault_report report =
            for_each_failing_alloc(row.name,
                                   [&](fault_run& run) {
                                       const array_ptr source = three_by_two();
                                       run.operand(source.get());
                                       run.act([&] { return row.copy(source.get()); });
                                   },
                                   {.framed = true});
        EXPECT_TRUE(report.passed);
    }
    struct {
        const char* name;
        const char* description;
        void (*change)(ndArray_tag*);
    } constexpr changes[] = {
        {"inflate", "double 3x2", api::ndInflateRealToComplex},
        {"deflate", "complex double 3x2", api::ndDeflateComplexToReal},
        {"free imaginary", "complex double 3x2", api::ndFreeImagIfZero},
    };
    for (const auto& row : changes) {
        for_each_failing_alloc(row.name, [&](fault_run& run) {
            const array_ptr sharer = sparse_arr(row.description, {{1, 0, 1.5}, {2, 1, 2.5}}, 4);
            const array_ptr array = matrix::detail::do_shared_copy(sharer.get());
            const bool before = api::ndIsComplex(array.get());
            run.operand(sharer.get());
            run.operand(array.get());
            run.act([&] {
                row.change(array.get());
                return api::ndIsComplex(array.get()) != before;
            });
        });
    }
}

} // namespace
} // namespace test
