// Ratios of works that are named by a pair, "double->int8", as a matrix.
#pragma once

#include "harness/row.hpp"
#include "harness/runner.hpp"

#include <map>
#include <string>
#include <vector>

namespace bench {

// Keeps the rows of one size; the others pass.
class pair_matrix {
public:
    void add(const row& row, const result& result);

    // A line for each name behind the arrow and a column for each one before it, in the order in which they came. Nothing
    // without two pairs.
    void print() const;

private:
    static constexpr const char* size = "1000";

    std::vector<std::string> names_;
    std::map<std::pair<std::string, std::string>, double> ratios_; // by (from, to)
};

} // namespace bench
