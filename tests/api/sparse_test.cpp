// Sparse arrays of each generation, called through C code that was compiled for it.
#include "api/mode.hpp"
#include "api/sparse_probe.h"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/memory.hpp>
#include <nd/sparse.hpp>

#include <climits>

namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using texts = std::vector<std::string>;

constexpr char size_limit[] = "TARVEL:array:SizeLimitExceeded";
constexpr char old_indices[] = "TARVEL:err_sparse_64bit_obsolete";
constexpr const sparse_probe* wide_generations[] = {&sparse_probe_730, &sparse_probe_800};

class EachGenerationsSparse : public testing::TestWithParam<const sparse_probe*> {
protected:
    const sparse_probe& probe() const { return *GetParam(); }
};

TEST_P(EachGenerationsSparse, ArraysBeginWithoutElements) {
    struct row {
        array_ptr array;
        int class_id;
        bool complex;
        std::size_t m, n, room;
    };
    row rows[] = {
        {array_ptr(probe().sparse(3, 3, 0, ndREAL)), ndDOUBLE_CLASS, false, 3, 3, 1},
        {array_ptr(probe().sparse(0, 0, 0, ndREAL)), ndDOUBLE_CLASS, false, 0, 0, 1},
        {array_ptr(probe().sparse(2, 5, 7, ndCOMPLEX)), ndDOUBLE_CLASS, true, 2, 5, 7},
        {array_ptr(probe().sparse(2, 5, 7, 2)), ndDOUBLE_CLASS, false, 2, 5, 7},
        {array_ptr(probe().sparse_logical(4, 1, 3)), ndLOGICAL_CLASS, false, 4, 1, 3},
    };
    for (const row& r : rows) {
        const ndArray_tag* const array = r.array.get();
        EXPECT_EQ(array->class_id, r.class_id);
        EXPECT_TRUE(api::ndIsSparse(array));
        EXPECT_EQ(api::ndIsComplex(array), r.complex);
        EXPECT_EQ(api::ndGetM(array), r.m);
        EXPECT_EQ(api::ndGetN(array), r.n);
        EXPECT_EQ(probe().nzmax(array), static_cast<long long>(r.room));
        for (std::size_t column = 0; column <= r.n; ++column) EXPECT_EQ(api::ndGetJc(array)[column], 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Api, EachGenerationsSparse,
                         testing::Values(&sparse_probe_700, &sparse_probe_730, &sparse_probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

TEST(SparseIndices, AreTheArraysOwnInTheWideGenerations) {
    for (const sparse_probe* probe : wide_generations) {
        const array_ptr array(probe->sparse(3, 2, 4, ndREAL));
        EXPECT_EQ(probe->rows(array.get()), api::ndGetIr(array.get()));
        EXPECT_EQ(probe->starts(array.get()), api::ndGetJc(array.get()));
        void* const old_rows = probe->rows(array.get());
        void* const old_starts = probe->starts(array.get());
        void* const rows = api::ndCalloc(4, sizeof(kvIndex));
        void* const starts = api::ndCalloc(3, sizeof(kvIndex));
        probe->set_rows(array.get(), rows);
        probe->set_starts(array.get(), starts);
        EXPECT_EQ(probe->rows(array.get()), rows);
        EXPECT_EQ(probe->starts(array.get()), starts);
        api::ndFree(old_rows);
        api::ndFree(old_starts);
    }
}

// Whatever array it is, the function that was called stands in the text.
TEST(SparseIndices, CantBeHadIn32Bits) {
    const array_ptr sparse(sparse_probe_800.sparse(3, 2, 4, ndREAL));
    const array_ptr full = matrix::create({}, ndDOUBLE_CLASS, ndREAL);
    void* const none = nullptr;
    for (const array_ptr* array : {&sparse, &full}) {
        ndArray_tag* const a = array->get();
        kvIndex* const rows = api::ndGetIr(a);
        kvIndex* const starts = api::ndGetJc(a);
        test::expect_refused([&] { return sparse_probe_700.rows(a); }, none, old_indices);
        test::expect_refused([&] { return sparse_probe_700.starts(a); }, none, old_indices);
        int vector[8] = {};
        const struct {
            const char* function;
            void (*call)(ndArray_tag* array, void* vector);
        } calls[] = {
            {"ndGetIr", [](ndArray_tag* x, void*) { sparse_probe_700.rows(x); }},
            {"ndGetJc", [](ndArray_tag* x, void*) { sparse_probe_700.starts(x); }},
            {"ndSetIr", [](ndArray_tag* x, void* v) { sparse_probe_700.set_rows(x, v); }},
            {"ndSetJc", [](ndArray_tag* x, void* v) { sparse_probe_700.set_starts(x, v); }},
        };
        for (const auto& one : calls) {
            const test::caught_error error = test::error_of([&] { one.call(a, vector); });
            EXPECT_EQ(error.id, test::errors_are_exceptions() ? old_indices : "");
            EXPECT_EQ(error.arguments, test::errors_are_exceptions() ? texts{one.function} : texts());
        }
        EXPECT_EQ(api::ndGetIr(a), rows);
        EXPECT_EQ(api::ndGetJc(a), starts);
    }
}

TEST(SparseSizes, NegativeOnesAreToldAsTheyWereGiven) {
    const struct {
        long long m, n, nzmax;
        const char* text;
    } rows[] = {
        {-1, 4, 2, "-1x4"}, {4, INT_MIN, 2, "4x-2147483648"}, {4, 4, -3, "-3x1"}, {-1, -2, -3, "-1x-2"}};
    for (const auto& r : rows) {
        const auto expect = [&](auto&& call) {
            ndArray_tag* made = nullptr;
            const test::caught_error error = test::error_of([&] { made = call(); });
            EXPECT_EQ(made, nullptr);
            EXPECT_EQ(error.id, test::errors_are_exceptions() ? size_limit : "");
            const texts wanted{r.text, "0.0GB", "0.0GB"};
            EXPECT_EQ(error.arguments, test::errors_are_exceptions() ? wanted : texts());
        };
        expect([&] { return sparse_probe_700.sparse(r.m, r.n, r.nzmax, ndREAL); });
        expect([&] { return sparse_probe_700.sparse_logical(r.m, r.n, r.nzmax); });
    }
}

TEST(SparseSizes, LongRoomComesBackInTheWideGenerationsOnly) {
    const array_ptr array(sparse_probe_800.sparse(3, 2, 4, ndREAL));
    api::ndSetNzmax(array.get(), kvSize{1} << 31);
    test::expect_refused([&] { return sparse_probe_700.nzmax(array.get()); }, 0LL, size_limit);
    for (const sparse_probe* probe : wide_generations) EXPECT_EQ(probe->nzmax(array.get()), 1LL << 31);
    api::ndSetNzmax(array.get(), INT_MAX);
    EXPECT_EQ(sparse_probe_700.nzmax(array.get()), INT_MAX);
    api::ndSetNzmax(array.get(), 4);
}

TEST(SparseSizes, AnArrayGrowsAsAnAddonFunctionMakesIt) {
    const array_ptr array(sparse_probe_800.sparse(3, 2, 1, ndREAL));
    static_cast<double*>(array->pdata)[0] = 1.5;
    api::ndGetIr(array.get())[0] = 1;
    api::ndGetJc(array.get())[1] = api::ndGetJc(array.get())[2] = 1;
    constexpr std::size_t room = 1000;
    grow_sparse(array.get(), room);
    EXPECT_EQ(sparse_probe_800.nzmax(array.get()), 1000);
    static_cast<double*>(array->pdata)[room - 1] = 0;
    api::ndGetIr(array.get())[room - 1] = 0;
    EXPECT_EQ(static_cast<double*>(array->pdata)[0], 1.5);
    EXPECT_EQ(matrix::find_sparse_k(array.get(), 2, 0), 1U);
}

} // namespace
