// The choice of the instruction set.
#include "platform/environment.hpp"
#include "platform/test_hooks.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace {

namespace hooks = foundation::test_hooks;
using namespace foundation::core::cpu;

constexpr instruction_set all_sets[] = {instruction_set::baseline, instruction_set::avx2,
                                        instruction_set::avx512};

instruction_set best() {
    instruction_set found = instruction_set::baseline;
    for (const instruction_set set : all_sets) {
        if (is_available(set)) found = set;
    }
    return found;
}

class instruction_sets : public testing::Test {
protected:
    void SetUp() override { hooks::reset_instruction_set(); }
    void TearDown() override { hooks::reset_instruction_set(); }
};

TEST_F(instruction_sets, baseline_is_always_there_and_the_best_is_used) {
    EXPECT_TRUE(is_available(instruction_set::baseline));
    EXPECT_EQ(instruction_set_in_use(), best());
}

TEST_F(instruction_sets, the_environment_may_ask_for_less) {
    for (std::size_t i = 0; i < instruction_set_count; ++i) {
        SCOPED_TRACE(instruction_set_names[i]);
        const test::environment_variable wish("ND_KERNELS", instruction_set_names[i]);
        hooks::reset_instruction_set();
        EXPECT_EQ(instruction_set_in_use(), is_available(all_sets[i]) ? all_sets[i] : best());
    }
    const test::environment_variable wish("ND_KERNELS", "sse9");
    hooks::reset_instruction_set();
    EXPECT_EQ(instruction_set_in_use(), best());
}

TEST_F(instruction_sets, threads_that_ask_first_choose_alike) {
    for (int round = 0; round < 50; ++round) {
        hooks::reset_instruction_set();
        instruction_set answers[4] = {};
        std::vector<std::thread> crew;
        for (instruction_set& answer : answers) crew.emplace_back([&] { answer = instruction_set_in_use(); });
        for (std::thread& thread : crew) thread.join();
        for (const instruction_set answer : answers) EXPECT_EQ(answer, best());
    }
}

TEST_F(instruction_sets, a_family_answers_with_the_set_in_use) {
    static constexpr int numbers[] = {10, 20, 30};
    constexpr kernel_family<int> family{{&numbers[0], &numbers[1], &numbers[2]}};
    for (std::size_t i = 0; i < instruction_set_count; ++i) {
        if (is_available(all_sets[i])) {
            hooks::set_instruction_set(all_sets[i]);
            EXPECT_EQ(family.get(), numbers[i]);
        } else {
            EXPECT_THROW(hooks::set_instruction_set(all_sets[i]), std::invalid_argument);
        }
    }
}

} // namespace
