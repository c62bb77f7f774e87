// Sizes that don't pass between int and 64 bits, seen from outside: the error, its texts, and what is left behind.
#include "api/generation_probe.h"
#include "api/mode.hpp"

#include <nd/create.hpp>
#include <nd/sizes.hpp>

#include <climits>

namespace {

constexpr char size_limit[] = "TARVEL:array:SizeLimitExceeded";
using texts = std::vector<std::string>;

/// The arguments of the error that the call raises; what they would be where errors are answered with null.
template <class Call>
texts texts_of(Call&& call, const texts& expected) {
    ndArray_tag* made = nullptr;
    const test::caught_error error = test::error_of([&] { made = call(); });
    EXPECT_EQ(made, nullptr);
    return test::errors_are_exceptions() ? error.arguments : expected;
}

TEST(NarrowSizes, NegativeSizesAreToldAsTheyWereGiven) {
    const struct {
        long long m, n;
        const char* text;
    } cases[] = {{-1, 4, "-1x4"}, {4, -1, "4x-1"}, {INT_MIN, -7, "-2147483648x-7"}};
    for (const auto& one : cases) {
        const texts expected{one.text, "0.0GB", "0.0GB"};
        EXPECT_EQ(texts_of([&] { return probe_700.double_matrix(one.m, one.n, ndREAL); }, expected),
                  expected);
        EXPECT_EQ(texts_of([&] { return probe_700.logical_matrix(one.m, one.n); }, expected), expected);
        EXPECT_EQ(
            texts_of([&] { return probe_700.numeric_matrix(one.m, one.n, ndINT8_CLASS, ndREAL); }, expected),
            expected);
    }
}

TEST(NarrowSizes, NegativeDimensionsAreToldAsTheyWereGiven) {
    const long long dims[] = {2, -3, 4};
    const texts expected{"2x-3x4", "0.0GB", "0.0GB"};
    EXPECT_EQ(texts_of([&] { return probe_700.numeric_array(3, dims, ndINT8_CLASS, ndREAL); }, expected),
              expected);
    EXPECT_EQ(texts_of([&] { return probe_700.logical_array(3, dims); }, expected), expected);
    const texts count{"-2x1", "0.0GB", "0.0GB"};
    EXPECT_EQ(texts_of([&] { return probe_700.numeric_array(-2, dims, ndINT8_CLASS, ndREAL); }, count),
              count);
}

TEST(NarrowSizes, TheErrorIsCaughtAsItsClass) {
    if (!test::errors_are_exceptions()) GTEST_SKIP() << "errors are answered with null in this module mode";
    EXPECT_THROW(probe_700.double_matrix(-1, 1, ndREAL), matrix::internal::SizeLimitExceeded);
    EXPECT_THROW(probe_700.double_matrix(-1, 1, ndREAL), std::exception);
}

TEST(NarrowSizes, LongDimensionsComeBackInTheWideGenerationsOnly) {
    const long long dims[] = {1LL << 31, 0};
    const matrix::array_ptr array(probe_730.numeric_array(2, dims, ndUINT8_CLASS, ndREAL));
    const void* const none = nullptr;
    test::expect_refused([&] { return probe_700.dimensions(array.get()); }, none, size_limit);
    for (const generation_probe* wide : {&probe_730, &probe_800}) {
        EXPECT_EQ(wide->dimension(wide->dimensions(array.get()), 0), 1LL << 31);
        EXPECT_EQ(wide->number_of_dimensions(array.get()), 2);
    }
    EXPECT_EQ(probe_700.number_of_dimensions(array.get()), 2);
}

TEST(NarrowSizes, OffsetsComeBackInTheWideGenerationsOnly) {
    const long long dims[] = {1LL << 31, 0};
    const matrix::array_ptr array(probe_730.numeric_array(2, dims, ndUINT8_CLASS, ndREAL));
    const long long first_too_large[] = {0, 1}, last_that_fits[] = {INT_MAX, 0};
    test::expect_refused([&] { return probe_700.single_subscript(array.get(), 2, first_too_large); }, 0LL,
                         size_limit);
    EXPECT_EQ(probe_700.single_subscript(array.get(), 2, last_that_fits), INT_MAX);
    for (const generation_probe* wide : {&probe_730, &probe_800}) {
        EXPECT_EQ(wide->single_subscript(array.get(), 2, first_too_large), 1LL << 31);
    }
}

// Also those that no dimension needs: each is converted before anything is computed.
TEST(NarrowSizes, NegativeSubscriptsAreToldAsTheyWereGiven) {
    const matrix::array_ptr array(probe_700.double_matrix(2, 3, ndREAL));
    const struct {
        int nsubs;
        long long subs[3];
        const char* text;
    } cases[] = {{2, {1, -1, 0}, "1x-1"},
                 {3, {1, 1, -5}, "1x1x-5"},
                 {1, {INT_MIN, 0, 0}, "-2147483648x1"},
                 {-2, {0, 0, 0}, "-2x1"}};
    for (const auto& one : cases) {
        long long offset = 0;
        const test::caught_error error =
            test::error_of([&] { offset = probe_700.single_subscript(array.get(), one.nsubs, one.subs); });
        EXPECT_EQ(offset, 0);
        if (!test::errors_are_exceptions()) continue;
        EXPECT_EQ(error.id, size_limit);
        EXPECT_EQ(error.arguments, (texts{one.text, "0.0GB", "0.0GB"}));
    }
}

TEST(NarrowSizes, TheLongestIntPasses) {
    const matrix::array_ptr array(probe_700.logical_matrix(INT_MAX, 0));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(probe_700.dimension(probe_700.dimensions(array.get()), 0), INT_MAX);
}

TEST(NarrowSizes, EachCallNarrowsAfresh) {
    const long long dims[] = {2, 3, 4, 5, 6};
    const matrix::array_ptr array(probe_700.numeric_array(5, dims, ndUINT8_CLASS, ndREAL));
    EXPECT_EQ(probe_700.dimension(probe_700.dimensions(array.get()), 4), 6);
    const std::size_t shorter[] = {7, 8};
    array->set_dimensions(shorter);
    const void* const again = probe_700.dimensions(array.get());
    EXPECT_EQ(probe_700.dimension(again, 0), 7);
    EXPECT_EQ(probe_700.dimension(again, 1), 8);
}

} // namespace
