// The warning manager's store: statuses, modes, the last printed id and the log.
#include <libbase/warning_manager.hpp>

#include "platform/test_hooks.hpp"
#include "support/alloc_sources.hpp"

#include <nd/messages.hpp>

#include <gtest/gtest.h>

#include <cstdarg>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace hooks = foundation::test_hooks;

namespace {

class LibbaseWarningManager : public testing::Test {
protected:
    void SetUp() override {
        hooks::reset_warnings();
        manager = baseGetWarningManagerContextSafe();
    }
    void TearDown() override { hooks::reset_warnings(); }

    [[gnu::format(printf, 5, 6)]] void log(const char* id, const char* text, bool off, const char* format,
                                           ...) {
        va_list args;
        va_start(args, format);
        baseLogWarning(manager, id, text, format, args, off);
        va_end(args);
    }

    base_warning_manager* manager = nullptr;
};

TEST_F(LibbaseWarningManager, StartsWithEveryWarningOnAndEveryModeOff) {
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(baseGetWarningStatus(manager, "any:id"), base_warning_on);
    EXPECT_EQ(baseGetWarningStatus(manager, ""), base_warning_on);
    for (int mode = -1; mode <= 33; ++mode) EXPECT_FALSE(baseIsWarningModeOn(manager, mode)) << mode;
    EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
    EXPECT_TRUE(baseGetWarningLog(manager).empty());
}

TEST_F(LibbaseWarningManager, StatusesBelongToIds) {
    baseSetWarningStatus(manager, "a:off", base_warning_off);
    baseSetWarningStatus(manager, "a:error", base_warning_error);
    baseSetWarningStatus(manager, "a:off_again", base_warning_error);
    baseSetWarningStatus(manager, "a:off_again", base_warning_off);
    const struct {
        const char* id;
        int status;
    } expected[] = {{"a:off", 0}, {"a:error", 2}, {"a:off_again", 0},
                    {"a:of", 1},  {"a:off2", 1},  {"A:OFF", 1}};
    for (const auto& row : expected) EXPECT_EQ(baseGetWarningStatus(manager, row.id), row.status) << row.id;
}

TEST_F(LibbaseWarningManager, ModesSwitchOneByOne) {
    baseSetWarningMode(manager, base_warning_mode_hint, true);
    EXPECT_TRUE(baseIsWarningModeOn(manager, 2));
    EXPECT_FALSE(baseIsWarningModeOn(manager, 3));
    baseSetWarningMode(manager, base_warning_mode_all_off, true);
    baseSetWarningMode(manager, base_warning_mode_hint, false);
    EXPECT_FALSE(baseIsWarningModeOn(manager, 2));
    EXPECT_TRUE(baseIsWarningModeOn(manager, 3));
}

TEST_F(LibbaseWarningManager, ModesOutOfRangeAreIgnored) {
    for (const int mode : {-1, 32, 34, 1 << 30}) {
        baseSetWarningMode(manager, mode, true);
        EXPECT_FALSE(baseIsWarningModeOn(manager, mode)) << mode;
    }
    for (int mode = 0; mode < 32; ++mode) EXPECT_FALSE(baseIsWarningModeOn(manager, mode)) << mode;
}

TEST_F(LibbaseWarningManager, RemembersTheIdPrintedLast) {
    baseSetLastPrintedWarningId(manager, "first:id");
    baseSetLastPrintedWarningId(manager, "second:id");
    EXPECT_EQ(baseGetLastPrintedWarningId(manager), "second:id");
}

TEST_F(LibbaseWarningManager, LogsFormattedWarningsInOrder) {
    log("a:one", "1 of 2", false, "%d of %d", 1, 2);
    log("a:two", "2 of 2", true, "%d of %d", 2, 2);
    const auto entries = baseGetWarningLog(manager);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].id, "a:one");
    EXPECT_EQ(entries[0].text, "1 of 2");
    EXPECT_EQ(entries[0].source, "%d of %d");
    EXPECT_FALSE(entries[0].off);
    EXPECT_EQ(entries[1].id, "a:two");
    EXPECT_EQ(entries[1].text, "2 of 2");
    EXPECT_TRUE(entries[1].off);
}

TEST_F(LibbaseWarningManager, LogsTheWholeTextWhereWhatWasShownIsCut) {
    const std::string whole(9000, 'w');
    log("a:long", whole.substr(0, 8191).c_str(), false, "%s", whole.c_str());
    EXPECT_EQ(baseGetWarningLog(manager).at(0).text, whole);
}

TEST_F(LibbaseWarningManager, LogsMessagesUnderTheirOwnIdOrAGivenOne) {
    baseLogWarning(manager, nullptr, TARVEL::colon::nonIntegerIndex(), false);
    baseLogWarning(manager, nullptr, TARVEL::legacy_two_part::badargs(), true);
    baseLogWarning(manager, "given:id", TARVEL::colon::nonIntegerIndex(), true);
    const auto entries = baseGetWarningLog(manager);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].id, "TARVEL:colon:nonIntegerIndex");
    EXPECT_EQ(entries[0].source, "TARVEL:colon:nonIntegerIndex");
    EXPECT_NE(entries[0].text, "");
    EXPECT_FALSE(entries[0].off);
    EXPECT_EQ(entries[1].id, "TARVEL:badargs");
    EXPECT_EQ(entries[1].source, "TARVEL:legacy_two_part:badargs");
    EXPECT_TRUE(entries[1].off);
    EXPECT_EQ(entries[2].id, "given:id");
    EXPECT_EQ(entries[2].text, entries[0].text);
}

TEST_F(LibbaseWarningManager, TheLogKeepsTheNewest) {
    const int count = static_cast<int>(base_warning_log_limit) + 5;
    for (int i = 0; i < count; ++i) log("a:many", "", false, "%d", i);
    const auto entries = baseGetWarningLog(manager);
    ASSERT_EQ(entries.size(), base_warning_log_limit);
    EXPECT_EQ(entries.front().text, "5");
    EXPECT_EQ(entries.back().text, std::to_string(count - 1));
}

TEST_F(LibbaseWarningManager, ForgetsEverythingOnReset) {
    baseSetWarningStatus(manager, "a:off", base_warning_off);
    baseSetWarningMode(manager, base_warning_mode_hint, true);
    baseSetLastPrintedWarningId(manager, "a:id");
    log("a:one", "text", false, "%s", "text");
    baseResetWarningManager(manager);
    EXPECT_EQ(baseGetWarningStatus(manager, "a:off"), base_warning_on);
    EXPECT_FALSE(baseIsWarningModeOn(manager, 2));
    EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
    EXPECT_TRUE(baseGetWarningLog(manager).empty());
}

TEST_F(LibbaseWarningManager, MayBeAbsentAndKeepsItsStateMeanwhile) {
    baseSetWarningStatus(manager, "a:off", base_warning_off);
    hooks::set_warning_manager_present(false);
    EXPECT_EQ(baseGetWarningManagerContextSafe(), nullptr);
    hooks::set_warning_mode(3, true);
    hooks::set_warning_manager_present(true);
    ASSERT_EQ(baseGetWarningManagerContextSafe(), manager);
    EXPECT_EQ(baseGetWarningStatus(manager, "a:off"), base_warning_off);
    EXPECT_TRUE(baseIsWarningModeOn(manager, 3));
}

TEST_F(LibbaseWarningManager, AFailedChangeChangesNothing) {
    const std::string id = "an:id that is too long to be kept inside a string object";
    const std::function<void()> changes[] = {
        [&] { baseSetWarningStatus(manager, id.c_str(), base_warning_off); },
        [&] { baseSetLastPrintedWarningId(manager, id.c_str()); },
        [&] { log(id.c_str(), id.c_str(), false, "%s", id.c_str()); },
        [&] { baseLogWarning(manager, id.c_str(), TARVEL::colon::nonIntegerIndex(), false); },
    };
    for (const auto& change : changes) {
        baseResetWarningManager(manager);
        for (long n = 1;; ++n) {
            bool failed = false;
            {
                test::injection injection({.first = n});
                try {
                    change();
                } catch (const std::bad_alloc&) {
                    failed = true;
                }
                ASSERT_EQ(failed, injection.failures() > 0);
            }
            if (!failed) break;
            ASSERT_LT(n, 100);
            EXPECT_EQ(baseGetWarningStatus(manager, id.c_str()), base_warning_on);
            EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
            EXPECT_TRUE(baseGetWarningLog(manager).empty());
        }
    }
}

TEST_F(LibbaseWarningManager, ServesManyThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([this, thread] {
            const std::string id = "thread:" + std::to_string(thread);
            for (int i = 0; i < 500; ++i) {
                baseSetWarningStatus(manager, id.c_str(), i % 3);
                EXPECT_EQ(baseGetWarningStatus(manager, id.c_str()), i % 3);
                baseSetWarningMode(manager, thread, i % 2 == 0);
                EXPECT_EQ(baseIsWarningModeOn(manager, thread), i % 2 == 0);
                baseSetLastPrintedWarningId(manager, id.c_str());
                EXPECT_EQ(baseGetLastPrintedWarningId(manager).substr(0, 7), "thread:");
                log(id.c_str(), "", false, "%d", i);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(baseGetWarningLog(manager).size(), base_warning_log_limit);
}

} // namespace
