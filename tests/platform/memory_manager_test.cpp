// Switches of the memory manager and the size of memory.
#include "platform/environment.hpp"
#include "platform/test_hooks.hpp"

#include <foundation/core/mem/manager.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <sys/sysinfo.h>

namespace {

using foundation::core::mem::get_total_random_access_memory;
using foundation::core::mem::manager::get_feature;
namespace hooks = foundation::test_hooks;

#if defined(ND_SANITIZED) || defined(ND_TORTURE)
constexpr bool pool_by_default = false;
#else
constexpr bool pool_by_default = true;
#endif

// Features as they are by default, whatever the variable said when the program was started.
class memory_features : public testing::Test {
protected:
    void SetUp() override {
        none_.emplace("ND_MEMORY_FEATURES", "");
        hooks::reset_memory_features();
    }
    void TearDown() override {
        none_.reset();
        hooks::reset_memory_features();
    }

private:
    std::optional<test::environment_variable> none_;
};

TEST_F(memory_features, only_the_scalable_pool_is_on_by_default) {
    for (int number = 0; number < 64; ++number)
        EXPECT_EQ(get_feature(number), number == 7 && pool_by_default) << number;
}

TEST_F(memory_features, numbers_out_of_range_are_off) {
    for (const int number : {-1, 64, 1000, INT_MIN, INT_MAX}) EXPECT_FALSE(get_feature(number)) << number;
}

TEST_F(memory_features, environment_overrides_single_features) {
    const struct {
        const char* text;
        bool feature_4, feature_7, feature_63;
    } rows[] = {
        {"4=1", true, pool_by_default, false},
        {"7=0", false, false, false},
        {"4=0,7=1", false, true, false},
        {"4=1,7=0,63=2", true, false, true},
        {"64=1,four=1,-4=1,4=on", false, pool_by_default, false},
    };
    for (const auto& row : rows) {
        const test::environment_variable set("ND_MEMORY_FEATURES", row.text);
        hooks::reset_memory_features();
        EXPECT_EQ(get_feature(4), row.feature_4) << row.text;
        EXPECT_EQ(get_feature(7), row.feature_7) << row.text;
        EXPECT_EQ(get_feature(63), row.feature_63) << row.text;
    }
}

TEST_F(memory_features, environment_is_read_once) {
    const test::environment_variable set("ND_MEMORY_FEATURES", "4=1");
    EXPECT_FALSE(get_feature(4));
}

TEST(memory_features_at_the_start, come_from_the_environment) {
    EXPECT_IN_NEW_PROCESS("ND_MEMORY_FEATURES", "4=1,7=0", get_feature(4) && !get_feature(7));
}

TEST_F(memory_features, can_be_set_one_by_one) {
    hooks::set_memory_feature(4, true);
    hooks::set_memory_feature(7, false);
    EXPECT_TRUE(get_feature(4));
    EXPECT_FALSE(get_feature(7));
    hooks::set_memory_feature(4, false);
    hooks::set_memory_feature(7, true);
    EXPECT_FALSE(get_feature(4));
    EXPECT_TRUE(get_feature(7));
    EXPECT_THROW(hooks::set_memory_feature(64, true), std::invalid_argument);
    EXPECT_THROW(hooks::set_memory_feature(-1, true), std::invalid_argument);
}

TEST(memory_size, is_the_systems_unless_set) {
    struct sysinfo info {};
    ASSERT_EQ(sysinfo(&info), 0);
    const std::uint64_t expected = std::uint64_t{info.totalram} * info.mem_unit;
    const std::uint64_t page = 4096;
    EXPECT_NEAR(static_cast<double>(get_total_random_access_memory()), static_cast<double>(expected), page);
    hooks::set_total_random_access_memory(12345);
    EXPECT_EQ(get_total_random_access_memory(), 12345U);
    hooks::set_total_random_access_memory(0);
    EXPECT_NEAR(static_cast<double>(get_total_random_access_memory()), static_cast<double>(expected), page);
}

} // namespace
