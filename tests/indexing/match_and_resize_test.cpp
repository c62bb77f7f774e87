// Right-hand sides against what the subscripts of an assignment select.
#include "indexing/index_info.hpp"
#include "indexing/raised_error.hpp"
#include "indexing/subscript_set.hpp"
#include "support/fixture.hpp"

#include <algorithm>
#include <random>
#include <vector>

namespace test {
namespace {

using Korvane::engine::IndexFlag;
using Korvane::engine::IndexInfo;
using dims_list = std::vector<std::size_t>;

using MatchAndResize = NdTest;

constexpr std::size_t colon = ~std::size_t{0};
const std::string mismatch = "TARVEL:subsassigndimmismatch subsassigndimmismatch()";

// Slots as the left side fills them: a colon is as long as its dimension, which is 0 where all are.
void fill(IndexInfo& info, const dims_list& lhs, const dims_list& selects) {
    for (std::size_t i = 0; i < selects.size(); ++i) {
        const std::size_t slot = info.start + i;
        const bool is_colon = selects[i] == colon;
        const std::size_t num = is_colon ? lhs[i] : selects[i];
        info.num[slot] = num;
        info.max[slot] = num;
        info.flag[slot] = is_colon ? (num == 0 ? IndexFlag::colon_of_zero : IndexFlag::colon)
                                   : (num == 0 ? IndexFlag::empty : IndexFlag::list);
    }
}

struct match_row {
    dims_list lhs;     ///< as the subscripts see it; all zero: the left side is
    dims_list selects; ///< counts, or colon
    dims_list rhs;
    dims_list lengths; ///< afterwards; empty: mismatch
    bool copies = true;
};

const match_row match_rows[] = {
    // all dimensions of the left side are 0
    {{0, 0}, {colon, colon}, {1, 3}, {1, 3}},
    {{0, 0}, {colon, 1}, {1, 3}, {3, 1}},
    {{0, 0}, {1, colon}, {3, 1}, {1, 3}},
    {{0, 0}, {3, colon}, {1, 3}, {}},
    {{0, 0}, {3, colon}, {3, 1}, {3, 1}},
    {{0, 0, 0}, {colon, colon, 1}, {2, 3}, {2, 3, 1}},
    {{0, 0, 0}, {1, colon, colon}, {3, 4}, {1, 3, 4}},
    {{0, 0}, {colon, colon}, {2, 3, 4}, {}},
    {{0, 0}, {colon, 1}, {1, 1}, {1, 1}},
    {{0}, {colon}, {2, 2}, {4}},
    {{0, 0}, {colon, colon}, {0, 0}, {0, 0}, false},
    {{0, 0}, {colon, colon}, {0, 3}, {0, 3}, false},
    {{0, 0}, {colon, 2}, {2, 3}, {}},
    {{0, 0}, {2, colon}, {2, 3}, {2, 3}},
    {{0, 0, 0}, {colon, 4, colon}, {2, 4, 3}, {2, 4, 3}},
    {{0, 0, 0}, {colon, colon, colon}, {2, 3}, {2, 3, 1}},
    {{0, 0, 0}, {1, colon, 1}, {1, 1, 5}, {1, 5, 1}},
    {{0, 0, 0}, {colon, 1, 1}, {1, 1, 5, 2}, {}},
    {{0, 0, 0}, {colon, colon, 1}, {1, 1, 5, 2}, {5, 2, 1}},
    {{0}, {colon}, {0, 0}, {0}, false},
    {{0, 0}, {2, 3}, {2, 3}, {2, 3}},
    // the left side has a dimension
    {{3, 4}, {colon, 1}, {1, 3}, {3, 1}},
    {{3, 4}, {1, colon}, {4, 1}, {1, 4}},
    {{3, 4}, {2, 2}, {1, 4}, {}},
    {{9}, {4}, {2, 2}, {4}},
    {{9}, {4}, {1, 5}, {}},
    {{3, 4, 1}, {colon, colon, 1}, {3, 4}, {3, 4, 1}},
    {{3, 4}, {2, 1}, {1, 1, 2}, {2, 1}},
    {{3, 4}, {0, colon}, {0, 0}, {0, 4}, false},
    {{3, 4}, {2, 1}, {0, 0}, {}},
    {{0, 3}, {colon, 1}, {2, 1}, {}},
    {{0, 3}, {colon, 1}, {0, 1}, {0, 1}, false},
    {{3, 4}, {2, 3}, {3, 2}, {}},
    {{3, 4}, {2, 3}, {2, 3, 2}, {}},
    {{3, 4}, {0, 2}, {1, 2}, {}},
    {{3}, {0}, {0, 5}, {0}, false},
    // a scalar fits whatever is selected, and says nothing about whether it is stored
    {{3, 4}, {2, 3}, {1, 1}, {2, 3}},
    {{3, 4}, {0, 3}, {1, 1}, {0, 3}},
    {{0, 0}, {colon, colon}, {1, 1, 1}, {1, 1}},
    {{0, 0}, {3, colon}, {1, 1}, {3, 1}},
};

TEST_F(MatchAndResize, FollowsItsTable) {
    for (const match_row& row : match_rows) {
        SCOPED_TRACE(::testing::PrintToString(row.lhs) + " selected " +
                     ::testing::PrintToString(row.selects) + " from " + ::testing::PrintToString(row.rhs));
        for (const bool field_slot : {false, true}) {
            const std::size_t extra = field_slot ? 1 : 0;
            IndexInfo info(row.selects.size() + extra, {row.rhs.data(), row.rhs.size(), false}, field_slot);
            if (field_slot) info.num[0] = info.max[0] = 7; // takes no part
            fill(info, row.lhs, row.selects);
            const auto flags = info.flag;
            const bool all_zero = std::all_of(row.lhs.begin(), row.lhs.end(), [](auto d) { return d == 0; });
            bool copies = true;
            const std::string error = error_of([&] { info.MatchAndResize(all_zero, false, copies); });
            EXPECT_EQ(error, row.lengths.empty() ? mismatch : "");
            EXPECT_TRUE(info.flag == flags) << "a colon stays one";
            if (row.lengths.empty()) continue;
            const dims_list num(info.num.begin() + static_cast<long>(extra), info.num.end());
            const dims_list max(info.max.begin() + static_cast<long>(extra), info.max.end());
            EXPECT_EQ(num, row.lengths);
            EXPECT_EQ(max, row.lengths);
            EXPECT_EQ(copies, row.copies);
        }
    }
}

// 0x0 double, x(:) = 1x3: the caller says that the left side isn't to be taken for all zero.
TEST_F(MatchAndResize, OpensNoColonUnlessTheLeftSideIsAllZero) {
    const dims_list rhs{1, 3};
    IndexInfo info(1, {rhs.data(), 2, false}, false);
    fill(info, {0}, {colon});
    bool copies = true;
    EXPECT_EQ(error_of([&] { info.MatchAndResize(false, false, copies); }), mismatch);
}

TEST_F(MatchAndResize, LeavesOpaqueSidesToTheirClass) {
    const dims_list rhs{2, 3};
    for (const bool lhs_opaque : {true, false}) {
        IndexInfo info(2, {rhs.data(), 2, !lhs_opaque}, false);
        fill(info, {0, 0}, {colon, 5});
        bool copies = true;
        info.MatchAndResize(true, lhs_opaque, copies);
        EXPECT_TRUE(copies);
        EXPECT_EQ(info.NumIndices(0), 0u);
        EXPECT_EQ(info.NumIndices(1), 5u);
    }
}

TEST_F(MatchAndResize, SurvivesCountsWhoseProductDoesNotFit) {
    const dims_list rhs{2, 3};
    IndexInfo info(2, {rhs.data(), 2, false}, false);
    const std::size_t large = std::size_t{1} << 47;
    fill(info, {large, large}, {large, large});
    bool copies = true;
    EXPECT_EQ(error_of([&] { info.MatchAndResize(false, false, copies); }), mismatch);
}

TEST_F(MatchAndResize, TakesItsShapeFromTheSet) {
    const dims_list rhs{1, 3};
    matrix::internal::SubscriptSet set(2, {rhs.data(), 2, false}, true, false);
    set.put_colon(0, 0);
    set.put_colon(1, 0);
    bool copies = true;
    set.info.MatchAndResize(true, false, copies);
    EXPECT_EQ(set.info.NumIndices(0), 1u);
    EXPECT_EQ(set.info.NumIndices(1), 3u);
    EXPECT_TRUE(set.info.IsColonCorrespondingToZeroDim(1));
}

} // namespace
} // namespace test
