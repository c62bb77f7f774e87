// The spread of groups.
#include "harness/order_spread.hpp"

#include "harness/goals.hpp"

#include <algorithm>
#include <cstdio>

namespace bench {

double order_spread::group_times::ratio() const {
    const auto [quickest, slowest] = std::minmax_element(medians.begin(), medians.end());
    return *slowest / *quickest;
}

bool order_spread::group_times::is_above_goal() const {
    return medians.size() > 1 && ratio() > spread_goal_of(group).value();
}

void order_spread::add(const row& row, const result& result) {
    if (!spread_goal_of(row.group)) return;
    auto found = std::find_if(groups_.begin(), groups_.end(), [&](const group_times& times) {
        return times.group == row.group && times.size == row.size;
    });
    if (found == groups_.end()) found = groups_.insert(groups_.end(), {row.group, row.size, {}});
    found->medians.push_back(result.libnd_median);
}

void order_spread::print() const {
    for (const group_times& times : groups_) {
        if (times.medians.size() < 2) continue;
        std::printf("%s %s: slowest to quickest %.2f, goal %.2f, %s\n", times.group.c_str(),
                    times.size.c_str(), times.ratio(), spread_goal_of(times.group).value(),
                    times.is_above_goal() ? "above" : "ok");
    }
}

std::size_t order_spread::above_goal() const {
    return static_cast<std::size_t>(std::count_if(
        groups_.begin(), groups_.end(), [](const group_times& times) { return times.is_above_goal(); }));
}

} // namespace bench
