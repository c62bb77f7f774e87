// The matrix of ratios.
#include "harness/pair_matrix.hpp"

#include <algorithm>
#include <cstdio>

namespace bench {

void pair_matrix::add(const row& row, const result& result) {
    const std::size_t arrow = row.work.find("->");
    if (arrow == std::string::npos || row.size != size) return;
    const std::string from = row.work.substr(0, arrow);
    const std::string to = row.work.substr(arrow + 2);
    for (const std::string& name : {from, to}) {
        if (std::find(names_.begin(), names_.end(), name) == names_.end()) names_.push_back(name);
    }
    ratios_[{from, to}] = result.ratio();
}

void pair_matrix::print() const {
    if (ratios_.size() < 2) return;
    std::printf("\nratio, %s elements: to (lines) from (columns)\n%-8s", size, "");
    for (const std::string& from : names_) std::printf(" %8s", from.c_str());
    std::putchar('\n');
    for (const std::string& to : names_) {
        std::printf("%-8s", to.c_str());
        for (const std::string& from : names_) {
            const auto found = ratios_.find({from, to});
            if (found == ratios_.end()) {
                std::printf(" %8s", "-");
            } else {
                std::printf(" %8.2f", found->second);
            }
        }
        std::putchar('\n');
    }
}

} // namespace bench
