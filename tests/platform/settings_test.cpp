// Lists of "name=number" in environment variables.
#include "platform/environment.hpp"
#include "platform/settings.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

constexpr const char* variable = "ND_SETTINGS_TEST";

using entries = std::vector<std::pair<std::string, std::uint32_t>>;

entries read_entries() {
    entries found;
    foundation::for_each_setting(
        variable, [&](std::string_view name, std::uint32_t value) { found.emplace_back(name, value); });
    return found;
}

TEST(settings, well_formed_entries_are_read_in_their_order) {
    const struct {
        const char* text;
        entries expected;
    } rows[] = {
        {"", {}},
        {"a=1", {{"a", 1}}},
        {"4=0,7=1", {{"4", 0}, {"7", 1}}},
        {"matrix::arraylist=0x200,matrix::sizelimit=0xFFFFFFFF",
         {{"matrix::arraylist", 0x200}, {"matrix::sizelimit", 0xFFFFFFFF}}},
        {"a=1,a=2", {{"a", 1}, {"a", 2}}},
        {"=5", {{"", 5}}},
        {",,a=1,", {{"a", 1}}},
        {"a", {}},
        {"a=", {}},
        {"a=0x", {}},
        {"a=1x,b=2", {{"b", 2}}},
        {"a=-1,b=2", {{"b", 2}}},
        {"a=4294967296,b=2", {{"b", 2}}},
        {"a=b=1,c=2", {{"c", 2}}},
        {"a= 1,b=2", {{"b", 2}}},
    };
    for (const auto& row : rows) {
        const test::environment_variable set(variable, row.text);
        EXPECT_EQ(read_entries(), row.expected) << row.text;
    }
}

TEST(settings, no_variable_means_no_entry) { EXPECT_EQ(read_entries(), entries{}); }

} // namespace
