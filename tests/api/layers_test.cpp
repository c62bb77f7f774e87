// The 32-bit layer from inside: conversions that no test can reach through an array, and allocations that fail.
#include "api/layers/sizes_32.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/compat.hpp>
#include <nd/sizes.hpp>

#include <gmock/gmock.h>

#include <climits>
#include <new>

namespace {

namespace compat = matrix::detail::noninlined::nd_array_compat_32_api;
using test::NdTest;

constexpr std::size_t first_too_large = std::size_t{INT_MAX} + 1;

TEST_F(NdTest, NarrowedValuesFitInt) {
    EXPECT_EQ(matrix::internal::narrowed(0), 0);
    EXPECT_EQ(matrix::internal::narrowed(INT_MAX), INT_MAX);
    EXPECT_THROW(matrix::internal::narrowed(first_too_large), matrix::internal::SizeLimitExceeded);
    EXPECT_THROW(matrix::internal::narrowed(SIZE_MAX), matrix::internal::SizeLimitExceeded);
}

TEST_F(NdTest, WidenedSizesKeepTheirValue) {
    const auto size = matrix::internal::widened(0, INT_MAX);
    EXPECT_EQ(size.m, 0U);
    EXPECT_EQ(size.n, std::size_t{INT_MAX});
    matrix::internal::wide_dimensions wide;
    matrix::internal::widen_dimensions(0, nullptr, wide);
    EXPECT_TRUE(wide.empty());
    const int dims[] = {INT_MAX, 0, 7};
    matrix::internal::widen_dimensions(3, dims, wide);
    EXPECT_THAT(wide, testing::ElementsAre(std::size_t{INT_MAX}, 0U, 7U));
}

test::fault_options framed() {
    test::fault_options options;
    options.framed = true;
    return options;
}

constexpr int many_dims[] = {1, 2, 1, 2, 1, 2}; // more than are widened without the heap

TEST_F(NdTest, FailingAllocationsOfCreators) {
    test::for_each_failing_alloc(
        "32-bit numeric array",
        [](test::fault_run& run) {
            run.act([] { return compat::ndCreateNumericArray(6, many_dims, ndDOUBLE_CLASS, ndCOMPLEX); });
        },
        framed());
    test::for_each_failing_alloc(
        "32-bit logical array",
        [](test::fault_run& run) { run.act([] { return compat::ndCreateLogicalArray(6, many_dims); }); },
        framed());
    test::for_each_failing_alloc(
        "32-bit double matrix",
        [](test::fault_run& run) { run.act([] { return compat::ndCreateDoubleMatrix(3, 4, ndREAL); }); },
        framed());
    test::for_each_failing_alloc(
        "32-bit numeric matrix",
        [](test::fault_run& run) {
            run.act([] { return compat::ndCreateNumericMatrix(3, 4, ndINT16_CLASS, ndCOMPLEX); });
        },
        framed());
    test::for_each_failing_alloc(
        "32-bit logical matrix",
        [](test::fault_run& run) { run.act([] { return compat::ndCreateLogicalMatrix(3, 4); }); }, framed());
}

// Memory that runs out while a negative size is being told: the caller hears of that instead, and nothing is left.
TEST_F(NdTest, FailingAllocationsOfARefusal) {
    static constexpr int negative_dims[] = {1, -2, 1, 2, 1, 2};
    const auto refused = [](auto&& call) {
        test::module_mode_scope mode(test::mode_exceptions);
        for (long n = 1;; ++n) {
            test::injection armed({n});
            try {
                call();
                FAIL() << "made";
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(armed.failures(), 1);
            } catch (const matrix::internal::SizeLimitExceeded& error) {
                EXPECT_EQ(armed.failures(), 0) << "allocation " << n;
                EXPECT_GT(n, 3) << "its three texts need memory";
                return;
            }
        }
    };
    refused([] { compat::ndCreateDoubleMatrix(-1, 4, ndREAL); });
    refused([] { compat::ndCreateNumericArray(6, negative_dims, ndDOUBLE_CLASS, ndREAL); });
    refused([] { compat::ndCreateLogicalArray(-6, negative_dims); });
    const test::module_mode_scope mode(test::mode_null_results);
    for (long n = 1; n < 20; ++n) {
        const test::injection armed({n});
        EXPECT_EQ(compat::ndCreateLogicalMatrix(-1, 4), nullptr) << "allocation " << n;
    }
}

TEST_F(NdTest, ANegativeSizeIsLoggedAsItWasGiven) {
    struct {
        void (*call)();
        const char* head;
    } constexpr rows[] = {
        {[] { matrix::internal::widened(-1, 4); }, "Attempt to create -1x4 array exceeds size limit at \n"},
        {[] {
             constexpr int dims[] = {2, 3, -7};
             matrix::internal::wide_dimensions wide;
             matrix::internal::widen_dimensions(3, dims, wide);
         },
         "Attempt to create 2x3x-7 array exceeds size limit at \n"},
        {[] {
             matrix::internal::wide_dimensions wide;
             matrix::internal::widen_dimensions(-3, nullptr, wide);
         },
         "Attempt to create -3x1 array exceeds size limit at \n"},
    };
    for (const auto& row : rows) {
        const test::log_capture log("matrix::sizelimit", 0x200);
        EXPECT_THROW(row.call(), matrix::internal::SizeLimitExceeded);
        ASSERT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.lines()[0].severity, 0x200U);
        EXPECT_THAT(log.lines()[0].text, testing::StartsWith(row.head));
    }
}

TEST_F(NdTest, FailingAllocationsOfSubscripts) {
    test::for_each_failing_alloc(
        "32-bit subscripts",
        [](test::fault_run& run) {
            const auto array = test::arr("double 1x2x1x2x1x2", {1, 2, 3, 4, 5, 6, 7, 8});
            const int last[] = {0, 1, 0, 1, 0, 1}; // more than are widened without the heap
            run.operand(array.get());
            run.act([&] { return compat::ndCalcSingleSubscript(array.get(), 6, last) == 7; });
        },
        framed());
}

TEST_F(NdTest, FailingAllocationsOfNarrowedDimensions) {
    test::for_each_failing_alloc(
        "32-bit dimensions",
        [](test::fault_run& run) {
            const auto array = test::arr("double 1x2x1x2x1x2", {1, 2, 3, 4, 5, 6, 7, 8});
            run.act([&] { return compat::ndGetDimensions(array.get()) != nullptr; });
        },
        framed());
}

} // namespace
