// The goals: what libnd is to reach, as a multiple of the limit.
#pragma once

#include <optional>
#include <string_view>

namespace bench {

// Nothing when a row stands for information only.
std::optional<double> goal_of(std::string_view work, std::string_view size);

// How much slower the slowest row of a group may be than the quickest one of the same size; nothing for groups without such a goal.
std::optional<double> spread_goal_of(std::string_view group);

} // namespace bench
