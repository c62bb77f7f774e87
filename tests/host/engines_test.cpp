// Calls in this process: what an addon function leaves is gone after each of many calls, and engines that call in turn, on one
// thread and on two, keep their lists, serials, error modes and last errors apart.
#include "started_library.hpp"

#include <addon.hpp>
#include <engine_session.hpp>
#include <failure.hpp>

#include <nd/host.h>

#include <gtest/gtest.h>

#include <malloc.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using nd_host::addon;
using nd_host::engine_session;
using nd_host::forgotten;

using outputs = std::vector<matrix::array_ptr>;

addon entry(const std::string& name, const std::string& function) {
    return {std::string(ND_TEST_ADDONS "/") + name + ".so", function};
}

double value_of(const outputs& results) {
    return results.empty() ? -1 : *static_cast<const double*>(results.front()->pdata);
}

bool lists_are_empty() { return matrix::isArrayListContextEmpty() && matrix::isAllocListContextEmpty(); }

/// What the calls of one engine forgot, call by call.
struct record {
    std::vector<std::vector<std::uint64_t>> serials;
    int calls_with_blocks = 0;

    nd_host::forgotten_observer observer() {
        return [this](const forgotten& found) {
            std::vector<std::uint64_t>& call = serials.emplace_back();
            for (const matrix::listed_array& one : found.arrays) call.push_back(one.serial);
            calls_with_blocks += found.blocks ? 1 : 0;
        };
    }
};

class Calls : public testing::Test {
protected:
    Calls() { test::start_library(); }
};

TEST_F(Calls, GiveTheirOutputsAwayAndLeaveTheListsEmpty) {
    engine_session session;
    for (const char* name : {"forget_arrays", "forget_blocks", "free_in_odd_orders", "end_most", "keep",
                             "forget_thousands", "call_others"}) {
        SCOPED_TRACE(name);
        const outputs results = session.call(entry("test_forgets", name), 1, {}, {});
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results.front()->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        EXPECT_TRUE(lists_are_empty());
    }
}

TEST_F(Calls, LeaveTheListsEmptyWhenTheyFail) {
    engine_session session;
    record found;
    for (const char* name : {"raise_and_forget", "call_one_that_raises", "forget_the_output",
                             "call_one_without_output", "call_nobody"}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(session.call(entry("test_forgets", name), 1, {}, found.observer()), nd_host::failure);
        EXPECT_TRUE(lists_are_empty());
    }
    EXPECT_EQ(found.serials.size(), 2U); // the two calls that no error ended, but a missing output
}

TEST_F(Calls, DoNotRememberAnythingBetweenThem) {
    engine_session session;
    const addon keep = entry("test_forgets", "keep");
    record found;
    const double before = value_of(session.call(keep, 1, {}, {}));
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(value_of(session.call(keep, 1, {}, found.observer())), before + i);
    }
    EXPECT_EQ(found.serials, (std::vector<std::vector<std::uint64_t>>{{3}, {5}, {7}}));
    EXPECT_EQ(found.calls_with_blocks, 3);
}

// An observer that fails is a failure of the call; what the function put out and what it forgot are gone all the same.
TEST_F(Calls, EndTheirArraysWhenTheObserverThrows) {
    engine_session session;
    const auto throws = [](const forgotten&) { throw std::bad_alloc(); };
    for (const char* name : {"forget_arrays", "call_others"}) {
        EXPECT_THROW(session.call(entry("test_forgets", name), 1, {}, throws), nd_host::failure);
        EXPECT_TRUE(lists_are_empty());
    }
}

#ifndef ND_SANITIZED
TEST_F(Calls, UseNoMoreMemoryTheMoreThereAre) {
    engine_session session;
    const addon all[] = {
        entry("test_forgets", "forget_arrays"),    entry("test_forgets", "forget_blocks"),
        entry("test_forgets", "end_most"),         entry("test_forgets", "keep"),
        entry("test_forgets", "forget_thousands"), entry("test_forgets", "call_others"),
        entry("test_forgets", "raise_and_forget"), entry("test_forgets", "call_one_that_raises")};
    const auto call_each = [&] {
        for (const addon& one : all) {
            try {
                session.call(one, 1, {}, {});
            } catch (const nd_host::failure&) {
            }
        }
    };
    for (int i = 0; i < 3; ++i) call_each();
    const std::size_t used = mallinfo2().uordblks;
    for (int i = 0; i < 20; ++i) call_each();
    EXPECT_EQ(mallinfo2().uordblks, used);
}
#endif

TEST_F(Calls, InTurnOnTwoEnginesKeepTheirListsApart) {
    const addon arrays = entry("test_forgets", "forget_arrays"); // six adds a call, the third an output
    const addon most = entry("test_forgets", "end_most");        // sixty-one, the last an output
    engine_session first;
    engine_session second;
    record of_first, of_second;
    std::vector<std::vector<std::uint64_t>> wanted_of_first, wanted_of_second;
    outputs kept;
    for (std::uint64_t round = 0; round < 30; ++round) {
        auto one = first.call(arrays, 1, kept, of_first.observer());
        auto other = second.call(most, 1, one, of_second.observer());
        EXPECT_EQ(value_of(one), 1);
        EXPECT_EQ(value_of(other), 4);
        kept = std::move(round % 2 == 0 ? one
                                        : other); // and the other's outputs end in whatever engine is current
        wanted_of_first.push_back(
            {6 * round + 1, 6 * round + 2, 6 * round + 4, 6 * round + 5, 6 * round + 6});
        wanted_of_second.push_back({61 * round + 31, 61 * round + 60});
    }
    EXPECT_EQ(of_first.serials, wanted_of_first);
    EXPECT_EQ(of_second.serials, wanted_of_second);
}

TEST_F(Calls, InTurnOnTwoEnginesKeepErrorModesAndLastErrorsApart) {
    const addon changes = entry("test_behaviours", "change_error_mode");
    engine_session first;
    matrix::setErrorMode(matrix::ErrorMode{11});
    matrix::setLastError("first:id", u"first", nullptr);
    {
        engine_session second;
        matrix::setErrorMode(matrix::ErrorMode{22});
        matrix::setLastError("second:id", u"second", nullptr);
        for (int round = 0; round < 3;
             ++round) { // each call sees its engine's mode, and what it changes is put back
            EXPECT_EQ(value_of(first.call(changes, 1, {}, {})), 11);
            EXPECT_EQ(value_of(second.call(changes, 1, {}, {})), 22);
        }
        EXPECT_EQ(matrix::getErrorMode(), matrix::ErrorMode{22});
        EXPECT_EQ(std::get<0>(matrix::getLastError()), "second:id");
    }
    EXPECT_EQ(matrix::getErrorMode(), matrix::ErrorMode{11});
    EXPECT_EQ(std::get<0>(matrix::getLastError()), "first:id");
}

TEST_F(Calls, OnTwoThreadsKeepTheirListsApart) {
    const addon function = entry("test_forgets", "call_others"); // eight adds, by three functions
    constexpr std::uint64_t rounds = 50;
    const auto work = [&](record& found, outputs& results) {
        engine_session session;
        for (std::uint64_t round = 0; round < rounds; ++round) {
            for (auto& output : session.call(function, 1, {}, found.observer())) {
                results.push_back(std::move(output));
            }
        }
    };
    record found[2];
    outputs results[2];
    std::thread other(work, std::ref(found[1]), std::ref(results[1]));
    work(found[0], results[0]);
    other.join();
    std::vector<std::vector<std::uint64_t>> wanted;
    for (std::uint64_t n = 0; n < 8 * rounds; n += 8) {
        wanted.push_back({n + 2, n + 3, n + 5, n + 6, n + 7});
        wanted.push_back({});
        wanted.push_back({n + 1, n + 4});
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(found[i].serials, wanted);
        EXPECT_EQ(results[i].size(), rounds);
    }
}

TEST_F(Calls, WithinCallsNeedAFunctionThatIsRunning) {
    engine_session session;
    session.call(entry("test_forgets", "call_others"), 1, {}, {});
    try {
        ndCallAddon("test_copies", nullptr, 0, nullptr, 0, nullptr);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const foundation::core::except::IUserException& error) {
        EXPECT_EQ(error.GetID(), "nd:callAddon:outside");
    }
}

} // namespace
