// With AddressSanitizer, an array that went into a bin is out of bounds till it comes out again.
#include "matrix/process_state.hpp"
#include "support/arr.hpp"

#include "platform/foundation/core/mem/heap_guard.hpp"

#include <nd/access.hpp>

#include <gmock/gmock.h>

#include <cstring>

namespace test {
namespace {

#ifdef ND_HEAP_GUARD

namespace api = matrix::detail::noninlined::nd_array_api;

volatile double sink; // keeps the reads alive

struct use_row {
    const char* name;
    void (*use)(ndArray_tag* array, double* data);
};

using UseAfterEnd = CacheTest;

TEST_F(UseAfterEnd, IsReported) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const use_row rows[] = {
        {"reads the header", [](ndArray_tag* array, double*) { sink = array->ref_count; }},
        {"asks for the scope", [](ndArray_tag* array, double*) { sink = api::ndGetArrayScope(array); }},
        {"writes the header", [](ndArray_tag* array, double*) { array->flags = 0; }},
        {"ends it twice", [](ndArray_tag* array, double*) { api::ndDestroyArray(array); }},
        {"reads the first element", [](ndArray_tag*, double* data) { sink = data[0]; }},
        {"reads the last element", [](ndArray_tag*, double* data) { sink = data[3]; }},
        {"reads spare bytes of the block", [](ndArray_tag*, double* data) { sink = data[7]; }},
        {"writes an element", [](ndArray_tag*, double* data) { data[1] = 1; }},
    };
    for (const use_row& row : rows) {
        SCOPED_TRACE(row.name);
        matrix::array_ptr array = arr("double 1x5", {1, 2, 3, 4, 5});
        ASSERT_TRUE(array->flags & matrix::flag_cached_header);
        ndArray_tag* const header = array.get();
        auto* const data = static_cast<double*>(array->pdata);
        array.reset();
        EXPECT_DEATH(row.use(header, data), "use-after-poison");
    }
}

TEST_F(UseAfterEnd, IsNoFaultOnceThePairIsTakenAgain) {
    matrix::array_ptr array = arr("double 1x5", {1, 2, 3, 4, 5});
    const ndArray_tag* const header = array.get();
    array.reset();
    array = arr("double 1x8", {1, 2, 3, 4, 5, 6, 7, 8});
    ASSERT_EQ(array.get(), header);
    EXPECT_EQ(static_cast<double*>(array->pdata)[7], 8);
}

#else

TEST(UseAfterEnd, IsReportedInSanitizedBuildsOnly) { GTEST_SKIP() << "this build has no AddressSanitizer"; }

#endif

} // namespace
} // namespace test
