// Every allocation of an operation fails, one after the other.
//
//     for_each_failing_alloc("shared copy", [](fault_run& run) {
//         const auto source = arr("double 2x3", {1, 2, 3, 4, 5, 6});     // arranged without failures
//         run.operand(source.get());                                     // must stay as it is, to the bit
//         run.act([&] { return matrix::detail::do_shared_copy(source.get()); });
//     });
//
// The scenario runs once without failures and then with the n-th allocation of its act failing, n = 1, 2, 3, ..., once alone and
// once with every later one failing too, until the act asks for fewer than n. After each failure: the operands are bit-identical
// and validate, the failure came out as an out-of-memory exception or as a null (false) result, the same call succeeds when
// repeated with memory at hand, its result validates, and all blocks are given back. An act that gets by in spite of a failure
// must have done its whole work; such runs are counted as recovered. A summary line is printed for each scenario.
//
// Only what the library does belongs into the act: the test's own allocations in there would fail too.
#pragma once

#include "support/alloc_sources.hpp"
#include "support/snapshot.hpp"

#include <nd/create.hpp>

#include <exception>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace test {

struct fault_options {
    /// The act is a creator with the interface's error frame: the scenario runs under both kinds of module mode, and a failure
    /// must be an exception in mode 1 and a null result in the other.
    bool framed = false;
    /// Also every pair of failures (k, k + j), j up to this.
    long second_within = 0;
};

struct fault_report {
    long points = 0;        ///< allocations of the act when nothing fails
    long injected_runs = 0; ///< runs in which at least one allocation was refused
    long recovered = 0;     ///< those in which the act succeeded all the same
    bool passed = true;
};

/// How an act ended.
struct act_outcome {
    bool succeeded = false;
    std::exception_ptr error;
    matrix::array_ptr made;
};

/// Runs an act. What it returns says whether it succeeded: nothing (it did), a bool, an array or null.
template <class Act>
act_outcome outcome_of(Act& act) {
    act_outcome outcome;
    try {
        using result = std::invoke_result_t<Act&>;
        if constexpr (std::is_void_v<result>) {
            act();
            outcome.succeeded = true;
        } else if constexpr (std::is_same_v<result, bool>) {
            outcome.succeeded = act();
        } else {
            outcome.made = matrix::array_ptr(act());
            outcome.succeeded = outcome.made != nullptr;
        }
    } catch (...) {
        outcome.error = std::current_exception();
    }
    return outcome;
}

/// One run of a scenario.
class fault_run {
public:
    fault_run(const fault_plan& plan, const fault_options& options, int module_mode)
        : plan_(plan), options_(options), module_mode_(module_mode) {}

    /// The array must be unchanged and valid after a failure. It outlives the act.
    void operand(const ndArray_tag* array) { operands_.push_back(array); }

    /// The operation under test. True when it succeeded at once.
    template <class Act>
    bool act(Act act) {
        take_snapshots();
        act_outcome outcome;
        {
            injection armed(plan_);
            outcome = outcome_of(act);
            note(armed);
        }
        if (judge(outcome)) return true;
        outcome.made.reset();
        judge_repetition(outcome_of(act));
        return false;
    }

    long points() const noexcept { return points_; }
    long failures() const noexcept { return failures_; }
    bool recovered() const noexcept { return failures_ > 0 && succeeded_; }
    bool acted() const noexcept { return acted_; }
    const std::vector<std::string>& complaints() const noexcept { return complaints_; }

private:
    void take_snapshots();
    void note(const injection& armed);
    bool judge(const act_outcome& outcome);
    void judge_failure(const act_outcome& outcome);
    void judge_repetition(const act_outcome& outcome);
    void complain(const std::string& what) { complaints_.push_back(what); }

    fault_plan plan_;
    fault_options options_;
    int module_mode_;
    std::vector<const ndArray_tag*> operands_;
    std::vector<snapshot> before_;
    std::vector<std::string> complaints_;
    long points_ = 0;
    long failures_ = 0;
    bool acted_ = false;
    bool succeeded_ = false;
};

fault_report for_each_failing_alloc(const std::string& name, const std::function<void(fault_run&)>& scenario,
                                    const fault_options& options = {});

/// Sums over the program so far, for its last line.
struct fault_totals {
    long scenarios = 0;
    long injected_runs = 0;
};
fault_totals fault_totals_so_far() noexcept;

} // namespace test
