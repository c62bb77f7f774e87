// The balance: a test leaves as many blocks of all three sources of memory alive as it found.
#pragma once

#include "support/alloc_sources.hpp"

#include <gtest/gtest.h>

namespace test {

/// Fails the running test when more or fewer blocks of headers or data are alive than before. More blocks of operator new may be
/// state that the process makes at first use: the test is noted for the second pass, and fails there.
void expect_balance_since(const live_blocks& before);

/// For a test that adds to what the process keeps for good, as symbols are: more blocks of operator new are all right this time.
void let_process_keep_more() noexcept;

/// Puts a balance around every test of the program, whatever its fixture. A test that failed or stopped half-way needn't have
/// given back everything.
class balance_around_tests : public ::testing::EmptyTestEventListener {
public:
    void OnTestStart(const ::testing::TestInfo& test) override;
    void OnTestEnd(const ::testing::TestInfo& test) override;

private:
    live_blocks before_;
};

} // namespace test
