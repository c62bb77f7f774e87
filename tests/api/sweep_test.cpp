// The argument sweep: every check that an entry point promises, on every built C entry point.
#include "api/sweep.hpp"

#include "api/mode.hpp"

#include <set>
#include <utility>

namespace {

TEST(ArgumentSweep, EveryPromiseIsKept) {
    for (const test::sweep_case& one : test::sweep_cases()) {
        SCOPED_TRACE(std::string(one.symbol) + ", " + one.check);
        bool answered = true;
        const std::string id = test::error_of([&] { answered = one.answers(); }).id;
        EXPECT_EQ(id, test::errors_are_exceptions() ? one.id : "");
        EXPECT_TRUE(answered);
    }
}

TEST(ArgumentSweep, HasCasesForManyEntryPoints) {
    std::set<std::pair<std::string, std::string>> promises;
    for (const test::sweep_case& one : test::sweep_cases()) promises.emplace(one.symbol, one.check);
    EXPECT_GE(promises.size(), 100U); // a table that lost its checks would sweep nothing and pass
}

} // namespace
