// Internal checks, the end of the process, and stack traces.
#include "platform/environment.hpp"
#include "platform/test_hooks.hpp"
#include "support/alloc_sources.hpp"
#include "support/death.hpp"

#include <foundation/core/diag/diag.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ios>
#include <locale>
#include <new>
#include <sstream>
#include <string>

namespace {

namespace diag = foundation::core::diag;
namespace hooks = foundation::test_hooks;
using diag::stacktrace_base;

class diag_death : public testing::Test {};

TEST_F(diag_death, terminate_prints_message_place_and_stack) {
    EXPECT_EXIT(diag::terminate("the message", "matrix/sharing", 4711, "the_function"),
                testing::KilledBySignal(SIGABRT),
                "check failed: the message\n.*at matrix/sharing:4711\n.*in the_function\nStack:\n#0 "
                "0x[0-9a-f]+.*\n#1 ");
}

TEST_F(diag_death, terminate_gets_by_without_texts) {
    EXPECT_EXIT(diag::terminate({}, nullptr, 0, nullptr), testing::KilledBySignal(SIGABRT),
                "check failed: \n.*at \\?:0\n.*in \\?\nStack:\n#0 ");
}

TEST_F(diag_death, terminate_prints_a_stack_without_memory) {
    const auto end_without_memory = [] {
        const test::injection no_memory({1, test::fault_plan::follow_up::for_ever, 0});
        diag::terminate("no memory left", "matrix/array", 1, "f");
    };
    EXPECT_EXIT(end_without_memory(), testing::KilledBySignal(SIGABRT),
                "no memory left(.|\n)*\\[0x[0-9a-f]+\\]");
}

TEST_F(diag_death, a_handler_that_returns_does_not_save_the_process) {
    const auto end_behind_handler = [] {
        hooks::set_terminate_handler([](std::string_view, const char*, int, const char*) {});
        diag::terminate("nevertheless", "matrix/array", 1, "f");
    };
    EXPECT_EXIT(end_behind_handler(), testing::KilledBySignal(SIGABRT), "check failed: nevertheless");
}

TEST_F(diag_death, a_failed_check_ends_the_process) {
    EXPECT_EXIT(diag::check(false, "m_data.empty()"), testing::KilledBySignal(SIGABRT),
                "m_data\\.empty\\(\\)\n.*diag_test\\.cpp:");
}

struct call_of_terminate {
    std::string message, file, function;
    int line;
};

TEST(diag, a_handler_receives_all_four_parts_and_may_leave_by_exception) {
    const auto previous = hooks::set_terminate_handler(
        [](std::string_view message, const char* file, int line, const char* function) {
            throw call_of_terminate{std::string(message), file, function, line};
        });
    int expected_line = 0;
    try {
        expected_line = __LINE__ + 1;
        diag::check(false, "failed");
        ADD_FAILURE() << "the check let it pass";
    } catch (const call_of_terminate& call) {
        EXPECT_EQ(call.message, "failed");
        EXPECT_NE(call.file.find("diag_test.cpp"), std::string::npos) << call.file;
        EXPECT_EQ(call.line, expected_line);
        EXPECT_EQ(call.function, __func__);
    }
    hooks::set_terminate_handler(previous);
}

TEST(diag, the_switch_decides_whether_checks_end_the_process) {
    EXPECT_TRUE(diag::fl_diag_terminate());
    EXPECT_NO_TERMINATE(diag::check(true, "passed"));
    EXPECT_TERMINATE(diag::check(false, "failed"), "failed");
    hooks::set_diag_terminate(false);
    EXPECT_FALSE(diag::fl_diag_terminate());
    EXPECT_NO_TERMINATE(diag::check(false, "failed"));
    hooks::reset_diag_terminate();
    EXPECT_TRUE(diag::fl_diag_terminate());
}

TEST(diag, only_0_in_the_environment_switches_off) {
    const struct {
        const char* value;
        bool on;
    } rows[] = {{"0", false}, {"1", true}, {"", true}, {"00", true}, {"off", true}};
    for (const auto& row : rows) {
        const test::environment_variable set("ND_DIAG_TERMINATE", row.value);
        EXPECT_TRUE(diag::fl_diag_terminate()) << "it is read once";
        hooks::reset_diag_terminate();
        EXPECT_EQ(diag::fl_diag_terminate(), row.on) << row.value;
        hooks::set_diag_terminate(true);
    }
}

TEST_F(diag_death, environment_is_read_at_the_start) {
    EXPECT_IN_NEW_PROCESS("ND_DIAG_TERMINATE", "0", !diag::fl_diag_terminate());
}

// What is done after the call keeps it from being a tail call, which has no frame.
[[gnu::noinline]] stacktrace_base capture_in_recursion(int calls, std::size_t skip) {
    volatile int left = calls;
    stacktrace_base stack = left > 0 ? capture_in_recursion(left - 1, skip) : stacktrace_base::capture(skip);
    left = 0;
    return stack;
}

// Arguments that the compiler doesn't know, so that it makes no copies of the function for known ones.
stacktrace_base capture_below(int calls, std::size_t skip) {
    volatile int unknown_calls = calls;
    volatile std::size_t unknown_skip = skip;
    return capture_in_recursion(unknown_calls, unknown_skip);
}

TEST(stacktrace, has_one_frame_a_call) {
    const std::size_t shallow = capture_below(0, 0).size();
    ASSERT_GT(shallow, 2U);
    ASSERT_LT(shallow, 100U);
    EXPECT_EQ(capture_below(10, 0).size(), shallow + 10);
}

[[gnu::noinline]] void expect_caller_in_frame(std::size_t frame, std::size_t skip) {
    const stacktrace_base stack = stacktrace_base::capture(skip);
    EXPECT_EQ(stack.frames()[frame], __builtin_return_address(0));
}

TEST(stacktrace, begins_in_the_function_that_captures) {
    expect_caller_in_frame(1, 0);
    expect_caller_in_frame(0, 1);
}

TEST(stacktrace, leaves_out_inner_frames) {
    std::size_t sizes[2] = {};
    const void* second_of_all = nullptr;
    const void* first_of_rest = nullptr;
    for (const std::size_t skip : {0, 1}) {
        const stacktrace_base stack = capture_below(3, skip);
        sizes[skip] = stack.size();
        (skip == 0 ? second_of_all : first_of_rest) = stack.frames()[skip == 0 ? 1 : 0];
    }
    EXPECT_EQ(sizes[1], sizes[0] - 1);
    EXPECT_EQ(first_of_rest, second_of_all);
    EXPECT_EQ(capture_below(3, 1000).size(), 0U);
    EXPECT_EQ(capture_below(3, SIZE_MAX).size(), 0U);
    EXPECT_EQ(capture_below(3, SIZE_MAX).format(), "");
}

TEST(stacktrace, keeps_the_innermost_128_frames) {
    const stacktrace_base stack = capture_below(300, 0);
    EXPECT_EQ(stack.size(), 128U);
    EXPECT_EQ(stack.frames()[10], stack.frames()[11]) << "frames of the recursion";
    EXPECT_EQ(capture_below(300, 100).size(), 128U);
}

TEST(stacktrace, an_empty_one_formats_to_nothing) { EXPECT_EQ(stacktrace_base().format(), ""); }

// Captured below functions of shared libraries, whose names are in dynamic symbol tables.
stacktrace_base captured;

TEST(stacktrace, tells_number_function_and_module_of_each_frame) {
    int two[] = {2, 1};
    std::qsort(two, 2, sizeof(int), [](const void*, const void*) {
        captured = stacktrace_base::capture();
        return 0;
    });
    const std::string text = captured.format();
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), captured.size());
    EXPECT_EQ(text.find("#0 0x"), 0U) << text;
    EXPECT_NE(text.find("\n#1 0x"), std::string::npos) << text;
    EXPECT_NE(text.find("qsort"), std::string::npos) << text;
    EXPECT_NE(text.find("libc.so"), std::string::npos) << text;
}

TEST(stacktrace, names_are_readable) {
    std::ostringstream stream;
    stream.register_callback(
        [](std::ios_base::event event, std::ios_base&, int) {
            if (event == std::ios_base::imbue_event) captured = stacktrace_base::capture();
        },
        0);
    stream.imbue(std::locale::classic());
    EXPECT_NE(captured.format().find("std::ios_base::_M_call_callbacks("), std::string::npos)
        << captured.format();
}

TEST(stacktrace, capturing_needs_no_memory_and_formatting_reports_its_lack) {
    stacktrace_base::capture(); // the unwinder loads itself at the first call
    const test::injection no_memory({1, test::fault_plan::follow_up::for_ever, 0});
    const stacktrace_base stack = stacktrace_base::capture();
    EXPECT_EQ(no_memory.points(), 0);
    EXPECT_GT(stack.size(), 0U);
    EXPECT_THROW(stack.format(), std::bad_alloc);
}

} // namespace
