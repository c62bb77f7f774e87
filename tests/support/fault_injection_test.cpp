// Failing allocations: each is reached, and each kind of misbehaviour after one is found.
#include "support/fault_injection.hpp"

#include "matrix/header_allocator.hpp"
#include "matrix/module_state.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <gtest/gtest-spi.h>

#include <memory>
#include <new>
#include <stdexcept>

namespace {

using test::arr;
using test::fault_plan;
using test::fault_report;
using test::fault_run;
using test::for_each_failing_alloc;
using test::injection;

// The optimiser may leave out an allocation that nobody sees; this one is seen.
bool allocates_an_int() {
    const auto block = std::make_unique<int>();
    asm volatile("" : : "r"(block.get()) : "memory");
    return block != nullptr;
}

using FaultInjection = test::NdTest;

TEST_F(FaultInjection, FailsTheChosenPointsAlone) {
    const injection armed({2, fault_plan::follow_up::second, 2});
    std::string outcomes;
    for (int i = 0; i < 5; ++i) {
        const std::unique_ptr<int> block(new (std::nothrow) int(i));
        outcomes += block ? '+' : '-';
    }
    // The string fits into itself and asks for nothing.
    EXPECT_EQ(outcomes, "+-+-+");
    EXPECT_EQ(armed.failures(), 2);
}

TEST_F(FaultInjection, FailsForEver) {
    const injection armed({2, fault_plan::follow_up::for_ever, 0});
    std::string outcomes;
    for (int i = 0; i < 5; ++i) {
        const std::unique_ptr<int> block(new (std::nothrow) int(i));
        outcomes += block ? '+' : '-';
    }
    EXPECT_EQ(outcomes, "+----");
}

TEST_F(FaultInjection, ReachesAllThreeSources) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const injection armed({1, fault_plan::follow_up::for_ever, 0});
    EXPECT_EQ(heap.malloc(8), nullptr);
    EXPECT_EQ(heap.calloc(1, 8), nullptr);
    EXPECT_EQ(heap.realloc(nullptr, 8), nullptr);
    EXPECT_EQ(matrix::internal::slots_in_force.malloc(8), nullptr);
    EXPECT_EQ(matrix::internal::slots_in_force.calloc(1, 8), nullptr);
    EXPECT_EQ(new (std::nothrow) int, nullptr);
    EXPECT_EQ(armed.failures(), 6);
}

TEST_F(FaultInjection, VisitsEveryAllocationInBothWays) {
    // An N-d array: header, data and dimension block.
    const std::size_t dims[] = {2, 3, 4};
    const fault_report report = for_each_failing_alloc("create 2x3x4", [&](fault_run& run) {
        run.act([&] { return matrix::create(dims, ndINT8_CLASS, ndREAL); });
    });
    EXPECT_EQ(report.points, 3);
    EXPECT_EQ(report.injected_runs, 6);
    EXPECT_EQ(report.recovered, 0);
}

TEST_F(FaultInjection, VisitsPairs) {
    const fault_report report =
        for_each_failing_alloc("three allocations that are all tried",
                               [&](fault_run& run) {
                                   run.act([&] {
                                       bool all = true;
                                       for (int i = 0; i < 3; ++i) {
                                           const std::unique_ptr<int> block(new (std::nothrow) int(i));
                                           all = all && block;
                                       }
                                       return all;
                                   });
                               },
                               {.framed = false, .second_within = 2});
    EXPECT_EQ(report.points, 3);
    EXPECT_EQ(report.injected_runs, 3 + 3 + 3 * 2);
}

TEST_F(FaultInjection, KnowsBothWaysOutOfTheFrame) {
    using namespace matrix::detail::noninlined;
    const fault_report report = for_each_failing_alloc(
        "ndCreateDoubleMatrix",
        [](fault_run& run) { run.act([] { return nd_array_api::ndCreateDoubleMatrix(2, 3, ndREAL); }); },
        {.framed = true, .second_within = 0});
    EXPECT_TRUE(report.passed);
    EXPECT_GE(report.injected_runs, 8);
}

TEST_F(FaultInjection, CountsRecoveredRuns) {
    const fault_report report = for_each_failing_alloc("with a fallback", [](fault_run& run) {
        run.act([] {
            const std::unique_ptr<int> wanted(new (std::nothrow) int);
            const int fallback = 1;
            return wanted != nullptr || fallback == 1;
        });
    });
    EXPECT_EQ(report.injected_runs, 2);
    EXPECT_EQ(report.recovered, 2);
}

// ---- what must be found

// A source whose data the act may change behind the caller's back.
struct careless {
    matrix::array_ptr operand = arr("double 1x3", {1, 2, 3});

    void run(const std::function<void(ndArray_tag*)>& on_failure) {
        for_each_failing_alloc("careless", [&](fault_run& run) {
            const auto fresh = arr("double 1x3", {1, 2, 3});
            run.operand(fresh.get());
            run.act([&] {
                const std::unique_ptr<int> block(new (std::nothrow) int);
                if (!block) on_failure(fresh.get());
                return block != nullptr;
            });
        });
    }
};

TEST_F(FaultInjection, FindsAChangedElement) {
    EXPECT_NONFATAL_FAILURE(careless().run([](ndArray_tag* a) { static_cast<double*>(a->pdata)[1] = 9; }),
                            "operand 0 isn't as it was: the data");
}

TEST_F(FaultInjection, FindsAChangedHeaderField) {
    EXPECT_NONFATAL_FAILURE(
        careless().run([](ndArray_tag* a) { a->flags |= matrix::flag_from_global_workspace; }),
        "field flags was 0x80080, is 0x80088");
}

TEST_F(FaultInjection, FindsABrokenOperand) {
    EXPECT_NONFATAL_FAILURE(careless().run([](ndArray_tag* a) { a->flags ^= matrix::flag_numeric; }),
                            "operand 0 after the failure: broken rule");
}

TEST_F(FaultInjection, FindsAnUndoneShare) {
    EXPECT_NONFATAL_FAILURE(careless().run([](ndArray_tag* a) { a->setCustomDeleter(nullptr); }),
                            "field share_record was 0x0");
}

TEST_F(FaultInjection, FindsALeak) {
    std::vector<matrix::array_ptr> leaked;
    leaked.reserve(10);
    EXPECT_NONFATAL_FAILURE(
        for_each_failing_alloc("leaky",
                               [&](fault_run& run) {
                                   auto made = arr("double 2x2");
                                   const bool done = run.act([] { return allocates_an_int(); });
                                   if (!done) leaked.push_back(std::move(made));
                               }),
        "leaky, failing allocation 1 alone: blocks were left behind: header slots 1, aligned heap 1");
}

TEST_F(FaultInjection, FindsAWrongException) {
    EXPECT_NONFATAL_FAILURE(for_each_failing_alloc("wrong exception",
                                                   [](fault_run& run) {
                                                       run.act([] {
                                                           const std::unique_ptr<int> block(
                                                               new (std::nothrow) int);
                                                           if (!block) throw std::logic_error("lost");
                                                       });
                                                   }),
                            "the failure came out as the exception \"lost\"");
}

TEST_F(FaultInjection, FindsACallThatDoesNotRecover) {
    bool broken = false;
    EXPECT_NONFATAL_FAILURE(for_each_failing_alloc("stays broken",
                                                   [&](fault_run& run) {
                                                       run.act([&] {
                                                           const std::unique_ptr<int> block(
                                                               new (std::nothrow) int);
                                                           broken = broken || !block;
                                                           return !broken;
                                                       });
                                                   }),
                            "the next call fails too");
}

TEST_F(FaultInjection, FindsAFrameThatLetsExceptionsOut) {
    EXPECT_NONFATAL_FAILURE(
        for_each_failing_alloc("no frame", [](fault_run& run) { run.act([] { return allocates_an_int(); }); },
                               {.framed = true, .second_within = 0}),
        "in module mode 0 the failure came out as an out-of-memory exception");
}

TEST_F(FaultInjection, FindsAFrameThatSwallows) {
    EXPECT_NONFATAL_FAILURE(for_each_failing_alloc("always null",
                                                   [](fault_run& run) {
                                                       run.act([] {
                                                           const std::unique_ptr<int> block(
                                                               new (std::nothrow) int);
                                                           return block != nullptr;
                                                       });
                                                   },
                                                   {.framed = true, .second_within = 0}),
                            "in module mode 1 the failure came out as a null result");
}

TEST_F(FaultInjection, FindsABrokenResult) {
    EXPECT_NONFATAL_FAILURE(
        for_each_failing_alloc(
            "broken result",
            [](fault_run& run) {
                ndArray_tag* made = nullptr;
                const auto repair = [](ndArray_tag** a) {
                    if (*a != nullptr) (*a)->scope = ndLOCAL_SCOPE;
                };
                auto keeper = arr("int8"); // outlives the repair of its scope
                const std::unique_ptr<ndArray_tag*, decltype(repair)> at_end(&made, repair);
                run.act([&] {
                    made = keeper.get();
                    made->scope = 9;
                    return matrix::detail::noninlined::nd_array_api::ndCreateReference(made);
                });
            }),
        "result: broken rule \"the scope lies in 0 to 6");
}

TEST_F(FaultInjection, FindsAnActThatFailsByItself) {
    EXPECT_NONFATAL_FAILURE(
        for_each_failing_alloc("never works", [](fault_run& run) { run.act([] { return false; }); }),
        "the act failed although no allocation did");
}

TEST_F(FaultInjection, FindsAScenarioWithoutAct) {
    EXPECT_NONFATAL_FAILURE(for_each_failing_alloc("idle", [](fault_run&) {}), "the scenario never acted");
}

} // namespace
