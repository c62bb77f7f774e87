// How far apart works lie that do the same in different orders: rows of one group and one size beside each other.
#pragma once

#include "harness/row.hpp"
#include "harness/runner.hpp"

#include <string>
#include <vector>

namespace bench {

// Keeps the rows of groups that have a spread goal; the others pass.
class order_spread {
public:
    void add(const row& row, const result& result);

    // A line for each group and size of which more than one row came: the slowest beside the quickest, goal and verdict.
    void print() const;

    std::size_t above_goal() const;

private:
    struct group_times {
        std::string group;
        std::string size;
        std::vector<double> medians;
        double ratio() const;
        bool is_above_goal() const;
    };
    std::vector<group_times> groups_; // in the order in which they came
};

} // namespace bench
