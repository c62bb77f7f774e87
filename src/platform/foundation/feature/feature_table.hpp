// The table of features, for feature.cpp and its test hooks.
#pragma once

#include <array>
#include <atomic>
#include <string_view>

namespace foundation::feature::detail {

struct feature_row {
    std::string_view name;
    int default_value;
};

inline constexpr std::array<feature_row, 2> feature_rows{{{"SingleSparse", 1}, {"MarkSweepGC", 0}}};

using feature_values = std::array<std::atomic<int>, feature_rows.size()>;

// The values now, in the order of the rows.
feature_values& values() noexcept;

// Sets the defaults, then what the environment says.
void load_initial_values(feature_values& values) noexcept;

// The row of a name, negative if there is none.
int find_row(std::string_view name) noexcept;

} // namespace foundation::feature::detail
