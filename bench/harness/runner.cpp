// Rounds of one run of libnd and one of the limit, the one that begins changing from round to round, so that a machine
// that slows down or speeds up meets both alike. Google Benchmark isn't used: it can shuffle the repetitions of different
// benchmarks, but knows no pairs, and its repetitions count on one clock.
#include "harness/runner.hpp"

#include <nd/cache.hpp>

#include <algorithm>
#include <limits>

namespace bench {
namespace {

constexpr double shortest_run = 2e6;   // ns
constexpr double time_for_a_row = 5e8; // ns, for both sides; rows of long runs take more
constexpr std::size_t fewest_rounds = 9;
constexpr std::size_t most_rounds = 101;
constexpr std::size_t growth = 16;

struct plan {
    std::size_t repetitions;
    double run; // what a run of so many gives
};

// How many repetitions make a run; the runs that find it out warm up caches, free lists and the clock of the processor.
plan plan_for(const meter& side, std::size_t fixed) {
    if (fixed != 0) return {fixed, side(fixed)};
    for (std::size_t repetitions = 1;;) {
        const double run = side(repetitions);
        if (run >= shortest_run) return {repetitions, run};
        const double wanted = 1.2 * static_cast<double>(repetitions) * shortest_run / std::max(run, 1.0);
        repetitions = std::clamp(static_cast<std::size_t>(std::min(wanted, 1e12)), repetitions + 1,
                                 repetitions * growth);
    }
}

std::size_t rounds_for(const row& row, const plan& libnd, const plan& limit) {
    if (row.unit != unit::nanoseconds) return fewest_rounds;
    const double affordable = time_for_a_row / (libnd.run + limit.run);
    return static_cast<std::size_t>(
        std::clamp(affordable, static_cast<double>(fewest_rounds), static_cast<double>(most_rounds)));
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

void run_once(const meter& side, const plan& plan, std::vector<double>& samples) {
    samples.push_back(side(plan.repetitions) / static_cast<double>(plan.repetitions));
}

} // namespace

double result::ratio() const {
    if (libnd_median == limit_median) return 1;
    return limit_median == 0 ? std::numeric_limits<double>::infinity() : libnd_median / limit_median;
}

result measure(const row& row) {
    matrix::cache::setEnabled(row.conditions.cache);
    const plan libnd = plan_for(row.libnd, row.repetitions);
    const plan limit = plan_for(row.limit, row.repetitions);
    result measured{};
    const std::size_t rounds = rounds_for(row, libnd, limit);
    for (std::size_t round = 0; round < rounds; ++round) {
        if (round % 2 == 0) run_once(row.libnd, libnd, measured.libnd);
        run_once(row.limit, limit, measured.limit);
        if (round % 2 == 1) run_once(row.libnd, libnd, measured.libnd);
    }
    measured.libnd_median = median(measured.libnd);
    measured.limit_median = median(measured.limit);
    return measured;
}

} // namespace bench
