// The loop over failing allocations and what is demanded after each failure.
#include "support/fault_injection.hpp"

#include "matrix/validate.hpp"
#include "support/module_mode.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <sstream>

namespace test {
namespace {

constinit fault_totals totals;

// Far above what any operation asks for: reaching it means that the act's allocations never end.
constexpr long most_points = 100'000;

bool is_out_of_memory(const std::exception_ptr& error, std::string& what) {
    try {
        std::rethrow_exception(error);
    } catch (const std::bad_alloc&) {
        return true;
    } catch (const std::exception& other) {
        what = other.what();
    } catch (...) {
        what = "something that isn't a std::exception";
    }
    return false;
}

std::string failure_text(const act_outcome& outcome) {
    std::string what;
    if (!outcome.error) return "a null result";
    return is_out_of_memory(outcome.error, what) ? "an out-of-memory exception"
                                                 : "the exception \"" + what + "\"";
}

} // namespace

void fault_run::take_snapshots() {
    if (acted_) complain("a scenario acts once");
    acted_ = true;
    for (const ndArray_tag* array : operands_) {
        if (const std::string broken = matrix::internal::validate(array); !broken.empty()) {
            complain("operand before the act: " + broken);
        }
        before_.emplace_back(array);
    }
}

void fault_run::note(const injection& armed) {
    points_ = armed.points();
    failures_ = armed.failures();
}

bool fault_run::judge(const act_outcome& outcome) {
    succeeded_ = outcome.succeeded;
    if (outcome.made != nullptr) {
        if (const std::string broken = matrix::internal::validate(outcome.made.get()); !broken.empty()) {
            complain("result: " + broken);
        }
    }
    if (outcome.succeeded) return true;
    if (failures_ == 0) {
        complain("the act failed although no allocation did, by " + failure_text(outcome));
        return true;
    }
    judge_failure(outcome);
    return false;
}

void fault_run::judge_failure(const act_outcome& outcome) {
    std::string what;
    if (outcome.error && !is_out_of_memory(outcome.error, what)) {
        complain("the failure came out as the exception \"" + what + "\"");
    }
    if (options_.framed && (outcome.error != nullptr) != (module_mode_ == mode_exceptions)) {
        complain("in module mode " + std::to_string(module_mode_) + " the failure came out as " +
                 failure_text(outcome));
    }
    for (std::size_t i = 0; i < operands_.size(); ++i) {
        if (const std::string broken = matrix::internal::validate(operands_[i]); !broken.empty()) {
            complain("operand " + std::to_string(i) + " after the failure: " + broken);
        } else if (const std::string changed = before_[i].difference(); !changed.empty()) {
            complain("operand " + std::to_string(i) + " isn't as it was: " + changed);
        }
    }
}

void fault_run::judge_repetition(const act_outcome& outcome) {
    if (!outcome.succeeded)
        complain("the next call fails too, with memory at hand, by " + failure_text(outcome));
    if (outcome.made == nullptr) return;
    if (const std::string broken = matrix::internal::validate(outcome.made.get()); !broken.empty()) {
        complain("result of the next call: " + broken);
    }
}

namespace {

using scenario_body = std::function<void(fault_run&)>;

// What is left of a run when its memory is given back.
struct run_counts {
    bool passed = true;
    long points = 0;
    long failures = 0;
    bool recovered = false;
};

// One scenario under one module mode: all its runs.
class fault_loop {
public:
    fault_loop(std::string name, const scenario_body& scenario, const fault_options& options, int mode,
               fault_report& report)
        : name_(std::move(name)), scenario_(scenario), options_(options), mode_(mode), report_(report) {}

    void run() {
        const run_counts clean = balanced_run({});
        report_.points = std::max(report_.points, clean.points);
        if (!clean.passed) return;
        for (long n = 1; run_plans_from(n); ++n) {
            if (n > most_points) return fail({n}, "the act's allocations don't end");
        }
    }

private:
    // False when nothing failed in these plans, that is, when the act has fewer than n allocations, and after a complaint.
    bool run_plans_from(long n) {
        bool any_failed = run_plan({n, fault_plan::follow_up::none, 0});
        any_failed = run_plan({n, fault_plan::follow_up::for_ever, 0}) || any_failed;
        for (long j = 1; j <= options_.second_within && any_failed; ++j) {
            run_plan({n, fault_plan::follow_up::second, j});
        }
        return any_failed && report_.passed;
    }

    bool run_plan(const fault_plan& plan) {
        if (!report_.passed) return false;
        const run_counts counts = balanced_run(plan);
        if (counts.failures == 0) return false;
        ++report_.injected_runs;
        if (counts.recovered) ++report_.recovered;
        return true;
    }

    // A run that must leave as many blocks as it found. State that is made at first use looks like a leak once, so a run that
    // leaves something is repeated: what is left again is a leak.
    run_counts balanced_run(const fault_plan& plan) {
        live_blocks left;
        for (int attempt = 0; attempt < 2; ++attempt) {
            const live_blocks before = count_live_blocks();
            const run_counts counts = single_run(plan);
            left = count_live_blocks() - before;
            if (!counts.passed || left == live_blocks{}) return counts;
        }
        std::ostringstream what;
        what << "blocks were left behind: " << left;
        fail(plan, what.str());
        return {false};
    }

    run_counts single_run(const fault_plan& plan) {
        fault_run run(plan, options_, mode_);
        scenario_(run);
        if (!run.acted()) fail(plan, "the scenario never acted");
        if (!run.complaints().empty()) fail(plan, run.complaints().front());
        return {report_.passed, run.points(), run.failures(), run.recovered()};
    }

    void fail(const fault_plan& plan, const std::string& what) {
        report_.passed = false;
        ADD_FAILURE() << name_ << ", " << plan << ": " << what;
    }

    std::string name_;
    const scenario_body& scenario_;
    fault_options options_;
    int mode_;
    fault_report& report_;
};

void print_summary(const std::string& name, const fault_report& report) {
    std::printf("[   faults ] %s: %ld allocations, %ld injected runs, %ld recovered\n", name.c_str(),
                report.points, report.injected_runs, report.recovered);
}

} // namespace

fault_report for_each_failing_alloc(const std::string& name, const scenario_body& scenario,
                                    const fault_options& options) {
    fault_report report;
    for (const int mode : {mode_exceptions, mode_null_results}) {
        if (!options.framed && mode != mode_null_results) continue;
        const module_mode_scope scope(mode);
        fault_loop(name, scenario, options, mode, report).run();
    }
    ++totals.scenarios;
    totals.injected_runs += report.injected_runs;
    print_summary(name, report);
    return report;
}

fault_totals fault_totals_so_far() noexcept { return totals; }

} // namespace test
