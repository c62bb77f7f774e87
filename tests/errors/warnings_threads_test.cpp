// Warnings on several threads, at the end of a thread, and out of memory.
#include <nd/warnings.hpp>

#include "errors/warning_test_hooks.hpp"
#include "platform/test_hooks.hpp"
#include "support/alloc_sources.hpp"

#include <libbase/warning_manager.hpp>
#include <nd/messages.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace hooks = foundation::test_hooks;
namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::WarningFilter;
using matrix::WarningObserver;

namespace {

class WarningThreads : public testing::Test {
protected:
    void SetUp() override { hooks::reset_warnings(); }
    void TearDown() override {
        matrix::errors::test_hooks::restore_first_warning_handler();
        hooks::reset_warnings();
    }
};

// Counts the lines that come through, whatever thread they come from.
struct counting_handler {
    std::shared_ptr<std::atomic<int>> count = std::make_shared<std::atomic<int>>(0);
    void operator()(const std::u16string&) const { count->fetch_add(1); }
};

TEST_F(WarningThreads, FiltersAndObserversSeeTheirOwnThreadOnly) {
    const counting_handler handler;
    matrix::setWarningHandler(handler);
    const WarningObserver observer;
    const WarningFilter dropping([](std::u16string&) { return false; });
    std::thread([] {
        const WarningObserver inner;
        api::ndWarningMsgIdAndTxt("a:thread", "text");
        EXPECT_EQ(inner.getNumWarnings(), 1U);
    }).join();
    EXPECT_EQ(observer.getNumWarnings(), 0U);
    EXPECT_EQ(handler.count->load(), 1) << "the handler is everybody's, the filter is not";
    api::ndWarningMsgIdAndTxt("a:here", "text");
    EXPECT_EQ(observer.getNumWarnings(), 1U);
    EXPECT_EQ(handler.count->load(), 1);
}

TEST_F(WarningThreads, WarnAndReplaceTheHandlerAtTheSameTime) {
    constexpr int thread_count = 8;
    constexpr int rounds = 300;
    const counting_handler handler;
    matrix::setWarningHandler(handler);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < thread_count; ++thread)
        threads.emplace_back([&handler, thread] {
            const std::string id = "thread:" + std::to_string(thread);
            const WarningObserver observer;
            const WarningFilter filter([](std::u16string& line) { return line += u"!", true; });
            for (int i = 0; i < rounds; ++i) {
                api::ndWarningMsgIdAndTxt(id.c_str(), "round %d", i);
                if (i % 10 == thread) matrix::setWarningHandler(handler);
            }
            EXPECT_EQ(observer.getNumWarnings(), static_cast<std::size_t>(rounds));
            EXPECT_EQ(observer.getNumWarnings(id), static_cast<std::size_t>(rounds));
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(handler.count->load(), thread_count * rounds);
}

// The destructor of a thread-local object warns, after the thread's filters are gone if those were made later.
TEST_F(WarningThreads, WarnWhileAThreadEnds) {
    struct warns_at_exit {
        bool armed = false;
        ~warns_at_exit() {
            if (!armed) return;
            matrix::handleWarning(u"at exit");
            const WarningFilter filter([](std::u16string&) { return false; });
            matrix::handleWarning(u"filtered at exit");
        }
    };
    const counting_handler handler;
    matrix::setWarningHandler(handler);
    std::thread([] {
        static thread_local warns_at_exit early;
        early.armed = true;
        const WarningFilter filter([](std::u16string&) { return true; });
    }).join();
    EXPECT_EQ(handler.count->load(), 1);
}

TEST_F(WarningThreads, EndFiltersThatWereLeftBehind) {
    auto state = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = state;
    std::thread([&state] {
        // A filter whose end never comes: its memory is this thread's stack.
        alignas(WarningFilter) std::byte room[sizeof(WarningFilter)];
        ::new (static_cast<void*>(room))
            WarningFilter([kept = std::move(state)](std::u16string&) { return *kept == 0; });
    }).join();
    EXPECT_TRUE(watch.expired());
}

TEST_F(WarningThreads, AllowAFilterThatOutlivesTheThreadsList) {
    struct late {
        std::optional<WarningFilter> filter;
    };
    const counting_handler handler;
    matrix::setWarningHandler(handler);
    std::thread([] {
        static thread_local late holder; // ends after the list, which is made later
        holder.filter.emplace([](std::u16string&) { return true; });
    }).join();
    matrix::handleWarning(u"afterwards");
    EXPECT_EQ(handler.count->load(), 1);
}

// Every allocation of a warning fails once: what was recorded is recorded everywhere or nowhere.
TEST_F(WarningThreads, OutOfMemoryLeavesObserversAlike) {
    matrix::setWarningHandler([](const std::u16string&) {});
    const TARVEL::colon::nonIntegerIndex message;
    api::ndWarningMsgId(message); // what a process makes once is made
    const std::string id = "a:id that is too long to be kept inside a string object";
    const std::u16string text = u"a text that is too long to be kept inside a string object";
    for (const bool formatted : {false, true}) {
        long n = 1;
        for (long failures = 1; failures > 0; ++n) {
            const WarningObserver outer;
            const WarningObserver inner;
            bool raised = false;
            {
                test::injection injection({.first = n});
                try {
                    if (formatted)
                        api::ndWarningMsgIdAndTxt(id.c_str(), "%s", "text");
                    else
                        api::ndWarningMsgIdAndTxtNoLog(id, text);
                } catch (const std::bad_alloc&) {
                    raised = true;
                }
                failures = injection.failures();
            }
            EXPECT_TRUE(raised || failures == 0) << "allocation " << n;
            EXPECT_EQ(outer.getNumWarnings(), inner.getNumWarnings()) << "allocation " << n;
            ASSERT_LT(n, 200);
        }
        EXPECT_GT(n, 5) << "line, text and id, twice recorded, each need memory";
    }
}

} // namespace
