// main of every test program that links nd_test_support.
#include "support/alloc_sources.hpp"
#include "support/balance.hpp"
#include "support/fault_injection.hpp"
#include "support/second_pass.hpp"

#include <gmock/gmock.h>

#include <cstdio>

int main(int argc, char** argv) {
    test::install_counting_allocators();
    ::testing::InitGoogleMock(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new test::balance_around_tests); // which owns it
    const int status = test::run_all_tests_in_two_passes();
    const test::fault_totals faults = test::fault_totals_so_far();
    if (faults.scenarios > 0) {
        std::printf("Failing allocations: %ld scenarios, %ld injected runs.\n", faults.scenarios,
                    faults.injected_runs);
    }
    return status;
}
