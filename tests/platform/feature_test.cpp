// Named feature switches.
#include "platform/environment.hpp"
#include "platform/test_hooks.hpp"

#include <foundation/feature/feature.hpp>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using foundation::feature::IFeature;
namespace hooks = foundation::test_hooks;

class named_features : public testing::Test {
protected:
    void SetUp() override { hooks::reset_features(); }
    void TearDown() override { hooks::reset_features(); }
};

TEST_F(named_features, have_defaults_and_unknown_names_are_0) {
    const struct {
        const char* name;
        int value;
    } rows[] = {{"SingleSparse", 1}, {"MarkSweepGC", 0}, {"singlesparse", 0}, {"Other", 0}, {"", 0},
                {nullptr, 0}};
    for (const auto& row : rows) {
        const char* const shown = row.name != nullptr ? row.name : "null";
        EXPECT_EQ(IFeature(row.name).get(), row.value) << shown;
        EXPECT_EQ(IFeature::get(row.name), row.value) << shown;
    }
}

TEST_F(named_features, environment_overrides_known_names) {
    const struct {
        const char* text;
        int single_sparse, mark_sweep;
    } rows[] = {{"MarkSweepGC=1", 1, 1},
                {"SingleSparse=0,MarkSweepGC=2", 0, 2},
                {"Other=1", 1, 0},
                {"MarkSweepGC", 1, 0}};
    for (const auto& row : rows) {
        const test::environment_variable set("ND_FEATURES", row.text);
        hooks::reset_features();
        EXPECT_EQ(IFeature::get("SingleSparse"), row.single_sparse) << row.text;
        EXPECT_EQ(IFeature::get("MarkSweepGC"), row.mark_sweep) << row.text;
        EXPECT_EQ(IFeature::get("Other"), 0) << row.text;
    }
}

TEST_F(named_features, environment_is_read_once) {
    const test::environment_variable set("ND_FEATURES", "MarkSweepGC=1");
    EXPECT_EQ(IFeature::get("MarkSweepGC"), 0);
}

TEST_F(named_features, environment_is_read_at_the_start) {
    EXPECT_IN_NEW_PROCESS("ND_FEATURES", "MarkSweepGC=3", IFeature::get("MarkSweepGC") == 3);
}

TEST_F(named_features, a_feature_object_tells_the_value_of_now) {
    const IFeature feature("MarkSweepGC");
    EXPECT_EQ(feature.get(), 0);
    hooks::set_feature("MarkSweepGC", 1);
    EXPECT_EQ(feature.get(), 1);
    EXPECT_THROW(hooks::set_feature("Other", 1), std::invalid_argument);
}

} // namespace
