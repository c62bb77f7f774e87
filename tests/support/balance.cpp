// Counting before and after.
#include "support/balance.hpp"

#include "support/fixture.hpp"
#include "support/second_pass.hpp"

namespace test {
namespace {

constinit bool process_keeps_more = false;

} // namespace

void let_process_keep_more() noexcept { process_keeps_more = true; }

void expect_balance_since(const live_blocks& before) {
    const live_blocks left = count_live_blocks() - before;
    EXPECT_TRUE(left.header_slots == 0 && left.aligned_heap == 0) << "the test left blocks behind: " << left;
    if (left.operator_new <= 0 || process_keeps_more) return;
    if (in_second_pass()) {
        ADD_FAILURE() << "the test leaves blocks behind each time it runs: " << left;
    } else {
        remember_for_second_pass(left);
    }
}

void balance_around_tests::OnTestStart(const ::testing::TestInfo&) {
    process_keeps_more = false;
    reset_process_state();
    before_ = count_live_blocks();
}

void balance_around_tests::OnTestEnd(const ::testing::TestInfo& test) {
    reset_process_state();
    if (test.result()->Passed()) expect_balance_since(before_);
}

} // namespace test
