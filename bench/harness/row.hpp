// One row of the report: a work of libnd beside the limit program that does the same.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Does the work so many times and tells the sum: nanoseconds, page faults or bytes.
using meter = std::function<double(std::size_t repetitions)>;

enum class unit { nanoseconds, page_faults, bytes };

// The state of libnd that a row is measured in.
struct conditions {
    bool in_engine = false; // after initModule(mode_in_engine); otherwise a plain library
    bool cache = true;      // creators take pairs from the array cache
};

struct row {
    std::string
        work; // a row in another state of the same work has the state in parentheses: create_zero(mode1)
    std::string size;
    std::string limit_name;
    meter libnd;
    meter limit;
    bench::unit unit = unit::nanoseconds;
    std::size_t repetitions = 0; // 0: as many as make a run long enough
    bench::conditions conditions = {};
    std::string group = {}; // a filter may name it in place of the work
};

using row_list = std::vector<row>;

} // namespace bench
