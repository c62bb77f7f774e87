// The second pass over tests that may have leaked.
#include "support/second_pass.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace test {
namespace {

struct pass_state {
    bool second = false;
    std::string filter; ///< the remembered tests as GoogleTest takes them: "A.b:C.d"
};

// Never destroyed: tests may run till the process ends.
pass_state& state() {
    static auto& the_state = *new pass_state;
    return the_state;
}

} // namespace

bool in_second_pass() noexcept { return state().second; }

void remember_for_second_pass(const live_blocks& left) {
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    if (test == nullptr) return;
    std::string& filter = state().filter;
    const std::string name = std::string(test->test_suite_name()) + "." + test->name();
    if (filter.ends_with(name)) return; // noted by the fixture, and now by the balance around it
    filter += (filter.empty() ? "" : ":") + name;
    std::printf("[   memory ] %ld more blocks of operator new are alive than before this test\n",
                left.operator_new);
}

int run_all_tests_in_two_passes() {
    const int first = RUN_ALL_TESTS();
    if (first != 0 || state().filter.empty()) return first;
    state().second = true;
    GTEST_FLAG_SET(filter, state().filter);
    GTEST_FLAG_SET(repeat, 1);
    // The report of the first pass, which has all tests, stays.
    GTEST_FLAG_SET(output, "");
    std::puts("Tests that left memory behind run once more: what they leave again is a leak.");
    return RUN_ALL_TESTS();
}

} // namespace test
