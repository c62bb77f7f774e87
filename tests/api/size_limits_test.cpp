// The user's limit and the end of memory, as each generation meets them in the library as shipped.
#include "api/generation_probe.h"
#include "api/mode.hpp"
#include "api/small_limit.hpp"

#include <nd/create.hpp>

#include <foundation/core/except/exception.hpp>

namespace {

using texts = std::vector<std::string>;

class EachGenerationsLimits : public testing::TestWithParam<const generation_probe*> {
protected:
    const generation_probe& api() const { return *GetParam(); }
};

/// Expects the limit's error with the dimensions and the request in words; null where errors are answered with that.
template <class Call>
void expect_above_limit(const char* dimensions, const char* request, Call&& call) {
    ndArray_tag* made = nullptr;
    const test::caught_error error = test::error_of([&] { made = call(); });
    EXPECT_EQ(made, nullptr);
    if (!test::errors_are_exceptions()) {
        EXPECT_EQ(error.id, "");
        return;
    }
    EXPECT_EQ(error.id, "TARVEL:array:SizeLimitExceeded");
    ASSERT_EQ(error.arguments.size(), 3U);
    EXPECT_EQ(error.arguments[0], dimensions);
    EXPECT_EQ(error.arguments[1], request);
    EXPECT_TRUE(error.arguments[2].ends_with("GB")) << error.arguments[2];
}

constexpr long long million = 1 << 20;

// 2^40 elements: no machine has a hundred times their bytes.
TEST_P(EachGenerationsLimits, TheUsersLimitHoldsForEveryCreator) {
    const test::small_limit limit;
    const long long dims[] = {million, 1, million};
    const std::size_t wide_dims[] = {million, 1, million};
    constexpr char flat[] = "1048576x1048576", solid[] = "1048576x1x1048576";
    expect_above_limit(flat, "8192.0GB", [&] { return api().double_matrix(million, million, ndREAL); });
    expect_above_limit(flat, "16384.0GB", [&] { return api().double_matrix(million, million, ndCOMPLEX); });
    expect_above_limit(flat, "1024.0GB",
                       [&] { return api().numeric_matrix(million, million, ndINT8_CLASS, ndREAL); });
    expect_above_limit(solid, "4096.0GB",
                       [&] { return api().numeric_array(3, dims, ndSINGLE_CLASS, ndREAL); });
    expect_above_limit(flat, "1024.0GB", [&] { return api().logical_matrix(million, million); });
    expect_above_limit(solid, "1024.0GB", [&] { return api().logical_array(3, dims); });
    expect_above_limit(flat, "16384.0GB", [&] { return api().uninit_double_matrix(2, million, million); });
    expect_above_limit(flat, "2048.0GB",
                       [&] { return api().uninit_numeric_matrix(million, million, ndINT16_CLASS, ndREAL); });
    expect_above_limit(solid, "8192.0GB",
                       [&] { return api().uninit_numeric_array(3, wide_dims, ndINT64_CLASS, ndREAL); });
}

/// Expects out of memory: the exception of a data block, or null.
template <class Call>
void expect_out_of_memory(Call&& call) {
    ndArray_tag* made = nullptr;
    bool out_of_memory = false;
    try {
        made = call();
    } catch (const foundation::core::except::bad_alloc&) {
        out_of_memory = true;
    }
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(out_of_memory, test::errors_are_exceptions());
}

// 2^47 bytes are all the addresses that a process has, and below the ceiling.
TEST_P(EachGenerationsLimits, MoreThanTheAddressSpaceIsOutOfMemory) {
    constexpr long long m = 1 << 22, n = 1 << 22;
    const long long bytes[] = {m, n, 8}, doubles[] = {m, n};
    const std::size_t wide_doubles[] = {m, n};
    expect_out_of_memory([&] { return api().double_matrix(m, n, ndREAL); });
    expect_out_of_memory([&] { return api().numeric_matrix(m, n, ndUINT64_CLASS, ndREAL); });
    expect_out_of_memory([&] { return api().numeric_array(2, doubles, ndDOUBLE_CLASS, ndREAL); });
    expect_out_of_memory([&] { return api().logical_matrix(m * 8, n); });
    expect_out_of_memory([&] { return api().logical_array(3, bytes); });
    expect_out_of_memory([&] { return api().uninit_double_matrix(0, m, n); });
    expect_out_of_memory([&] { return api().uninit_numeric_matrix(m, n, ndDOUBLE_CLASS, ndREAL); });
    expect_out_of_memory([&] { return api().uninit_numeric_array(2, wide_doubles, ndDOUBLE_CLASS, ndREAL); });
}

INSTANTIATE_TEST_SUITE_P(Api, EachGenerationsLimits, testing::Values(&probe_700, &probe_730, &probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

} // namespace
