// Measures a row: libnd and limit in turn, and the medians of both.
#pragma once

#include "harness/row.hpp"

namespace bench {

struct result {
    std::vector<double> libnd; // per repetition, one for each round
    std::vector<double> limit;
    double libnd_median;
    double limit_median;

    double ratio() const; // 1 when both are 0
};

// Puts libnd into the row's state (but for the module's mode, which the caller has chosen) and measures.
result measure(const row& row);

} // namespace bench
