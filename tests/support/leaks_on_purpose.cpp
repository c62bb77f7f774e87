// A program whose tests leave blocks of operator new behind: one each time it runs, one at its first run only. Only the first is
// a leak. ctest runs the program and compares what it says.
#include "support/fixture.hpp"

#include <list>
#include <memory>
#include <vector>

namespace {

using LeaksOnPurpose = test::NdTest;

// Reachable, so that leak checkers of the tool chain have nothing to add.
void leak() {
    static std::list<int> grows;
    grows.push_back(1);
}

TEST_F(LeaksOnPurpose, EachTime) { leak(); }

TEST(LeaksWithoutFixture, EachTime) { leak(); }

TEST_F(LeaksOnPurpose, AtTheFirstRunOnly) {
    static const std::vector<int> table{1, 2, 3};
    EXPECT_EQ(table.size(), 3U);
}

TEST_F(LeaksOnPurpose, Never) { EXPECT_EQ(*std::make_unique<int>(5), 5); }

} // namespace
