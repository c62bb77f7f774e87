// Tests that left blocks of operator new behind run a second time at the program's end: state that the process makes at first
// use is there by then, so what is left again is a leak.
#pragma once

#include "support/alloc_sources.hpp"

namespace test {

bool in_second_pass() noexcept;

/// Notes the test that is running, which left these blocks.
void remember_for_second_pass(const live_blocks& left);

/// Runs all tests, then the remembered ones. The program's exit status.
int run_all_tests_in_two_passes();

} // namespace test
