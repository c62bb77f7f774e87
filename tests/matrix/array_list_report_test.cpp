// What the array list tells its two channels about orphans, and what the stack channel's records catch.
#include "matrix/array_list.hpp"

#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"

#include "platform/test_hooks.hpp"

#include <boost/log/core/core.hpp>

#include <cstdio>
#include <regex>
#include <stdexcept>
#include <thread>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::array_ptr;
using matrix::clearArrayListContext;
using matrix::popArrayListContext;
using matrix::pushArrayListContext;
using matrix::internal::ArrayList;
using ::testing::StartsWith;

constexpr const char* orphans = "matrix::arraylist";
constexpr const char* stacks = "matrix::arraylist_stacks";
constexpr std::uint32_t debug = foundation::log::severity_debug;
constexpr std::uint32_t fatal = foundation::log::severity_fatal;

void pop(bool quiet = false) { popArrayListContext({}, quiet); }

std::string address(const ndArray_tag* array) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", static_cast<const void*>(array));
    return text;
}

// The text with each run of stack frames as "<stack>".
std::string without_stacks(const std::string& text) {
    static const std::regex frames("(#[0-9]+ 0x[^\n]*\n)+");
    return std::regex_replace(text, frames, "<stack>");
}

std::vector<std::string> without_stacks(const log_capture& log) {
    std::vector<std::string> texts;
    for (const std::string& text : log.texts()) texts.push_back(without_stacks(text));
    return texts;
}

std::string header(int count, int context) {
    return std::to_string(count) + " orphan ndArrays found exiting array list context " +
           std::to_string(context) + " from:\n<stack>\n";
}

const std::string trailer =
    "====> Re-run with full diagnostics for details\n( Event generated in void "
    "matrix::internal::ArrayList::clearContextImpl(bool) at line 261 from file matrix/array_list )";

using ArrayListReport = ListsTest;

TEST_F(ArrayListReport, CountsOrphans) {
    const log_capture log(orphans, debug);
    const channel_mask no_stacks(stacks, 0);
    for (const int count : {1, 2, 40}) {
        pushArrayListContext();
        pushArrayListContext();
        temporaries(static_cast<std::size_t>(count));
        pop();
        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines().back().channel, orphans);
        EXPECT_EQ(log.lines().back().severity, debug);
        EXPECT_EQ(without_stacks(log).back(), header(count, 3) + trailer);
        pop();
    }
    EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(ArrayListReport, LeavesHolesAndKeptArraysOutOfTheCount) {
    const log_capture log(orphans, debug);
    pushArrayListContext();
    std::vector<ndArray_tag*> made = temporaries(5);
    api::ndDestroyArray(made[1]);
    ndArray_tag* keep[] = {made[3], nullptr};
    popArrayListContext({keep, keep + 2}, false);
    EXPECT_EQ(without_stacks(log), std::vector<std::string>{header(3, 2) + trailer});
    clearArrayListContext(false);
    EXPECT_EQ(without_stacks(log).back(), header(1, 1) + trailer);
}

TEST_F(ArrayListReport, IsMadeForOrphansOnlyAndNotWhenQuiet) {
    for (const char* channel : {orphans, stacks}) {
        const log_capture log(channel, debug);
        pushArrayListContext();
        pop();
        pushArrayListContext();
        api::ndDestroyArray(temporary());
        clearArrayListContext(false);
        pop();
        pushArrayListContext();
        temporary();
        clearArrayListContext(true);
        temporary();
        pop(true);
        EXPECT_TRUE(log.lines().empty()) << channel;
    }
}

// An engine that closes tells of each context that it still has; one that goes down with an exception had no chance to close them.
TEST_F(ArrayListReport, IsMadeWhenAnEngineClosesButNotWhileAnExceptionIsInFlight) {
    const log_capture log(orphans, debug);
    const auto leave_orphans = [](EngineInstance& engine) {
        const EngineActivation active(&engine);
        temporary();
        pushArrayListContext();
        temporaries(2);
    };
    try {
        EngineInstance engine;
        leave_orphans(engine);
        throw std::runtime_error("from the engine's owner");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(log.lines().empty());
    {
        EngineInstance engine;
        leave_orphans(engine);
    }
    EXPECT_EQ(without_stacks(log),
              (std::vector<std::string>{header(2, 2) + trailer, header(1, 1) + trailer}));
}

TEST_F(ArrayListReport, IsNotMadeWithBothChannelsOff) {
    const log_capture log(orphans, 0);
    pushArrayListContext();
    temporary();
    pop();
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ArrayListReport, TellsWhereEachOrphanWasAdded) {
    const log_capture log(stacks, debug);
    pushArrayListContext();
    const std::vector<ndArray_tag*> made = temporaries(3);
    std::vector<std::string> addresses;
    for (const ndArray_tag* array : made) addresses.push_back(address(array));
    api::ndDestroyArray(made[1]);
    pop();
    const auto line = [&](std::size_t i, int number) {
        return "ndArray@" + addresses[i] + " (" + std::to_string(number) + " of 2) orphaned in context 2 " +
               "at exit. Originally pushed onto array list from:\n<stack>";
    };
    EXPECT_EQ(without_stacks(log), (std::vector<std::string>{header(2, 2), line(2, 1), line(0, 2)}));
    for (const log_line& record : log.lines()) {
        EXPECT_EQ(record.channel, stacks);
        EXPECT_EQ(record.severity, debug);
    }
}

// One channel speaks: the one with stacks if it is on.
TEST_F(ArrayListReport, GoesToTheStackChannelWhenBothAreOn) {
    const log_capture log(orphans, debug);
    const channel_mask both(stacks, debug);
    pushArrayListContext();
    temporary();
    pop();
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].channel, stacks);
    EXPECT_EQ(log.lines()[1].channel, stacks);
}

// Turned on over an array that is listed already: its end is a fault, but for processes that don't check.
TEST_F(ArrayListReport, SaysWhereNoRecordWasMade) {
    const diagnostics_switched_off off;
    const log_capture log(stacks, 0);
    pushArrayListContext();
    ndArray_tag* const early = temporary();
    const std::string early_address = address(early);
    const channel_mask on(stacks, debug);
    ndArray_tag* const late = temporary();
    const std::string late_address = address(late);
    pop();
    const auto texts = without_stacks(log);
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[0], header(2, 2));
    EXPECT_THAT(texts[1], StartsWith("ndArray@" + late_address +
                                     " (1 of 2) orphaned in context 2 at exit. "
                                     "Originally pushed"));
    EXPECT_EQ(texts[2], "ndArray@" + early_address +
                            " (2 of 2) orphaned in context 2 at exit. **No record of "
                            "this array being pushed onto list**");
}

TEST_F(ArrayListReport, NamesTheStackOfTheAdd) {
    const log_capture log(stacks, debug);
    pushArrayListContext();
    temporary();
    const auto captured = foundation::core::diag::stacktrace_base::capture().size();
    pop();
    const std::string& text = log.lines().back().text;
    const auto frames = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) - 1;
    EXPECT_GT(frames, 3U);
    EXPECT_LE(frames, captured + 20);
}

TEST_F(ArrayListReport, ReportsAtTheHighestSeverityThatIsOn) {
    for (const std::uint32_t mask : {0x1U, 0x8U, 0x200U, 0x208U, 0x400U}) {
        const log_capture log(orphans, mask);
        pushArrayListContext();
        temporary();
        pop();
        ASSERT_EQ(log.lines().size(), 1U) << mask;
        EXPECT_EQ(log.lines()[0].severity, mask == 0x208U ? 0x200U : mask);
    }
}

// A sink that fails loses the records, nothing else.
TEST_F(ArrayListReport, MayGetLost) {
    for (const char* channel : {orphans, stacks}) {
        const log_capture log(channel, debug);
        foundation::test_hooks::set_log_sink(
            [](const std::string&, std::uint32_t, const std::string&) { throw 1; });
        pushArrayListContext();
        temporary();
        EXPECT_NO_THROW(pop());
        EXPECT_TRUE(listed_everywhere().empty());
    }
}

// ---- a fatal channel

void leave_orphans_on(const char* channel, std::uint32_t mask) {
    foundation::log::set_channel_mask(channel, mask);
    pushArrayListContext();
    temporaries(2);
    pop();
}

TEST_F(ArrayListReport, EndsTheProcessBehindAFatalReport) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::uint32_t mask : {fatal, fatal | debug}) {
        EXPECT_TERMINATE_IN_CHILD(leave_orphans_on(orphans, mask), "====> Re-run with full diagnostics");
        EXPECT_TERMINATE_IN_CHILD(leave_orphans_on(stacks, mask),
                                  "2 orphan ndArrays found exiting array list");
    }
    // Each orphan is told before that.
    EXPECT_TERMINATE_IN_CHILD(leave_orphans_on(stacks, fatal), "(2 of 2) orphaned in context 2 at exit. ");
    EXPECT_TERMINATE_IN_CHILD(
        {
            const diagnostics_switched_off off; // a channel that is fatal isn't a check
            leave_orphans_on(orphans, fatal);
        },
        "2 orphan ndArrays found exiting array list context 2");
}

constexpr const char* no_information = "Expression information is not available.";

// A record that the logging core refuses is as fatal; it has no text but this. So is one that there is no memory for.
TEST_F(ArrayListReport, EndsTheProcessWithoutItsTextToo) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const char* channel : {orphans, stacks}) {
        EXPECT_TERMINATE_IN_CHILD(
            {
                boost::log::core::get()->set_logging_enabled(false);
                leave_orphans_on(channel, fatal);
            },
            no_information);
        EXPECT_TERMINATE_IN_CHILD(
            {
                foundation::log::set_channel_mask(channel, fatal);
                temporaries(2);
                const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
                clearArrayListContext(false);
            },
            no_information);
    }
}

TEST_F(ArrayListReport, IsNotMadeWhereTheCoreRefusesIt) {
    for (const char* channel : {orphans, stacks}) {
        const log_capture log(channel, debug);
        boost::log::core::get()->set_logging_enabled(false);
        pushArrayListContext();
        temporary();
        pop();
        boost::log::core::get()->set_logging_enabled(true);
        EXPECT_TRUE(log.lines().empty()) << channel;
        EXPECT_TRUE(listed_everywhere().empty());
    }
}

// A host goes on behind a fatal report, on its thread and while it asks for that.
TEST_F(ArrayListReport, LetsTheProcessGoOnWhereThatIsAskedFor) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const char* channel : {orphans, stacks}) {
        const log_capture log(channel, fatal);
        {
            const matrix::list_reports_go_on outer;
            { const matrix::list_reports_go_on inner; }
            pushArrayListContext();
            temporary();
            pop();
            EXPECT_TERMINATE_IN_CHILD(std::thread([] { leave_orphans_on(orphans, fatal); }).join(),
                                      "2 orphan ndArrays found exiting");
        }
        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines()[0].severity, fatal);
        EXPECT_THAT(log.lines()[0].text, StartsWith("1 orphan ndArrays found exiting array list context 2"));
        EXPECT_TERMINATE_IN_CHILD(leave_orphans_on(channel, fatal), "2 orphan ndArrays found exiting");
    }
}

TEST_F(ArrayListReport, DoesntEndTheProcessWhenQuietOrEmpty) {
    const log_capture log(orphans, fatal);
    pushArrayListContext();
    pop();
    pushArrayListContext();
    temporary();
    pop(true);
    EXPECT_TRUE(log.lines().empty());
}

// ---- checks against the records of the stack channel

constexpr const char* add_null = "Array list consistency error: Cannot add null to array list";
constexpr const char* remove_null = "Array list consistency error: Cannot remove null from array list";
constexpr const char* already_there = "Array list consistency error: Array is already on array list";
constexpr const char* not_there = "Array list consistency error: Array is not on array list";
constexpr const char* elsewhere =
    "Array list consistency error: Array is on array list in another context:\n"
    "Possible call to ndSetCell, ndSetField, ndSetFieldByNumber or ndDestroyArray\n"
    "on input argument";

class ArrayListRecords : public ListsTest {
protected:
    ArrayListRecords() { GTEST_FLAG_SET(death_test_style, "fast"); }
    ArrayList list_;
    const channel_mask on_{stacks, debug};
    array_ptr first_ = arr("double", {1}), second_ = arr("double", {2});

    // Arrays of a list of its own, as the door would leave them.
    void add(const array_ptr& array) {
        list_.add(array.get());
        array->scope = ndTEMPORARY_SCOPE;
    }
    void take_off(const array_ptr& array) {
        list_.remove(array.get());
        array->scope = ndLOCAL_SCOPE;
    }
};

TEST_F(ArrayListRecords, CatchNull) {
    EXPECT_TERMINATE(list_.add(nullptr), add_null);
    EXPECT_TERMINATE_IN_CHILD(list_.remove(nullptr), remove_null);
    EXPECT_TRUE(list_.is_context_empty());
}

TEST_F(ArrayListRecords, CatchASecondAdd) {
    add(first_);
    EXPECT_TERMINATE(list_.add(first_.get()), already_there);
    list_.push_context();
    EXPECT_TERMINATE(list_.add(first_.get()), elsewhere);
    list_.pop_context({}, true);
    EXPECT_EQ(list_.all_entries().size(), 1U);
    take_off(first_);
}

TEST_F(ArrayListRecords, CatchARemovalOfWhatIsntThere) {
    EXPECT_TERMINATE_IN_CHILD(list_.remove(first_.get()), not_there);
    add(first_);
    list_.push_context();
    add(second_);
    EXPECT_TERMINATE_IN_CHILD(list_.remove(first_.get()), elsewhere);
    take_off(second_);
    EXPECT_TERMINATE_IN_CHILD(list_.remove(first_.get()), elsewhere);
    list_.pop_context({}, true);
    take_off(first_);
    EXPECT_TERMINATE_IN_CHILD(list_.remove(first_.get()), not_there);
}

TEST_F(ArrayListRecords, CatchThroughTheInterfaceWhatALibraryUserDoesToAnArgument) {
    ndArray_tag* const argument = temporary();
    pushArrayListContext();
    EXPECT_TERMINATE_IN_CHILD(api::ndDestroyArray(argument), elsewhere);
    EXPECT_TERMINATE_IN_CHILD(api::ndSetArrayScope(argument, ndMEMBER_SCOPE), elsewhere);
    pop();
}

TEST_F(ArrayListRecords, FollowKeptArraysToTheOuterContext) {
    list_.push_context();
    list_.push_context();
    add(first_);
    add(second_);
    ndArray_tag* keep[] = {first_.get(), second_.get()};
    list_.pop_context(keep, true);
    EXPECT_TERMINATE(list_.add(first_.get()), already_there);
    take_off(second_);
    list_.pop_context({keep, 1}, true);
    EXPECT_TERMINATE(list_.add(first_.get()), already_there);
    take_off(first_);
    EXPECT_TRUE(list_.is_context_empty());
}

// An orphan that is taken for another context's is caught where its record is dropped.
TEST_F(ArrayListRecords, CatchAnOrphanWithoutARecord) {
    const auto orphan_without_record = [] {
        foundation::log::set_channel_mask(stacks, 0);
        pushArrayListContext();
        temporary();
        foundation::log::set_channel_mask(stacks, debug);
        pop(true);
    };
    EXPECT_TERMINATE_IN_CHILD(orphan_without_record(), not_there);
}

TEST_F(ArrayListRecords, CatchNothingWithChecksOff) {
    const diagnostics_switched_off off;
    EXPECT_NO_TERMINATE(take_off(first_));
    add(first_);
    EXPECT_NO_TERMINATE(list_.add(first_.get()));
    EXPECT_EQ(list_.all_entries().size(), 2U) << "the code goes on";
    take_off(first_);
    take_off(first_);
    EXPECT_TRUE(list_.is_context_empty());
}

TEST_F(ArrayListRecords, CatchNothingWithTheChannelOff) {
    foundation::log::set_channel_mask(stacks, 0);
    add(first_);
    list_.add(first_.get());
    take_off(first_);
    take_off(first_);
    take_off(first_);
    EXPECT_TRUE(list_.is_context_empty());
}

// Records of arrays that come and go while the channel changes stay true.
TEST_F(ArrayListRecords, StayTrueWhenTheChannelGoesOffInBetween) {
    add(first_);
    add(second_);
    foundation::log::set_channel_mask(stacks, 0);
    EXPECT_FALSE(list_.remove_at_once(second_.get())) << "its record has to go too";
    take_off(second_);
    take_off(first_);
    foundation::log::set_channel_mask(stacks, debug);
    EXPECT_NO_TERMINATE(add(second_));
    EXPECT_NO_TERMINATE(add(first_));
    take_off(first_);
    take_off(second_);
    list_.push_context();
    add(first_);
    foundation::log::set_channel_mask(stacks, 0);
    ndArray_tag* keep[] = {first_.get()};
    list_.pop_context(keep, true);
    foundation::log::set_channel_mask(stacks, debug);
    EXPECT_TERMINATE(list_.add(first_.get()), already_there);
    take_off(first_);
}

// The list itself ends the process when a record is left at its end.
TEST_F(ArrayListRecords, OfOrphansGoWhileTheChannelIsOff) {
    list_.push_context();
    add(first_);
    add(second_);
    foundation::log::set_channel_mask(stacks, 0);
    first_.release();
    second_.release();
    list_.pop_context({}, true);
    EXPECT_TRUE(list_.all_entries().empty());
}

} // namespace
} // namespace test
