// Names of columns as names of fields.
#include "started_library.hpp"

#include <column_names.hpp>
#include <nd/names.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using nd_host::field_names;
using names = std::vector<std::string>;

struct naming {
    names columns;
    names fields;
};

TEST(ColumnNames, BecomeNamesOfFields) {
    const std::vector<naming> table = {
        {{"lat", "Depth_2"}, {"lat", "Depth_2"}},
        {{"depth (km)", "a.b", "a-b c"}, {"depth__km_", "a_b", "a_b_c"}},
        {{"1959", "_a", "%"}, {"x1959", "x_a", "x_"}},
        {{"", "b", ""}, {"x1", "b", "x3"}},
        {{"\xC3\xB8re", "t\xC3\xA4glich", "\xF0\x9F\x8C\x8B"}, {"x_re", "t_glich", "x_"}},
        {{"a\nb", "a,b"}, {"a_b", "a_b_2"}},
        {{"a", "a", "a"}, {"a", "a_2", "a_3"}},
        {{"a", "a", "a_2"}, {"a", "a_3", "a_2"}},
        {{"a_2", "a", "a", "a_2"}, {"a_2", "a", "a_3", "a_2_2"}},
        {{"x2", ""}, {"x2", "x2_2"}},
        {{"A", "a"}, {"A", "a"}},
        {{}, {}},
    };
    for (const naming& row : table) {
        EXPECT_EQ(field_names(row.columns), row.fields) << ::testing::PrintToString(row.columns);
    }
}

TEST(ColumnNames, LongOnesAreCutAndStayDifferent) {
    test::start_library();
    const std::string longest(matrix::longest_rec_name, 'a');
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(field_names({longest}), names{longest});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    ::testing::internal::CaptureStderr();
    const names cut = field_names({longest + "b", longest, longest + "c"});
    const std::string warned = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(cut, (names{longest, longest.substr(2) + "_2", longest.substr(2) + "_3"}));
    EXPECT_EQ(std::count(warned.begin(), warned.end(), '\n'), 2) << warned;
}

TEST(ColumnNames, ManyAlikeAreValidAndDifferent) {
    const names fields = field_names(names(20000, "#"));
    EXPECT_EQ(std::unordered_set<std::string>(fields.begin(), fields.end()).size(), fields.size());
    for (const std::string& field : fields) {
        ASSERT_TRUE(matrix::detail::noninlined::nd_array_api::ndIsValidRecName(field)) << field;
    }
}

} // namespace
