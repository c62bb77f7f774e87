/*
 * nd_bench: libnd beside the limit of each work, measured in turn on one core of one process.
 *
 * The process starts as a plain library. Before the first row that belongs inside the engine it becomes an engine, once
 * and for the rest of the report.
 */
#include "harness/order_spread.hpp"
#include "harness/pair_matrix.hpp"
#include "harness/process.hpp"
#include "harness/report.hpp"
#include "harness/runner.hpp"
#include "rows/rows.hpp"

#include <nd/engine.hpp>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <optional>
#include <regex>
#include <string>

namespace {

struct options {
    std::string filter;
    std::string json;
    bool tab_separated = false;
};

// The engine of the process, while it lives.
class engine {
public:
    engine() : active_(&instance_) { matrix::initModule(matrix::mode_in_engine); }

private:
    foundation::usm::EngineInstance instance_;
    foundation::usm::EngineActivation active_;
};

// A filter may name a work, a work and a size ("create_zero 3x4"), or a group of works ("convert").
bench::row_list chosen_rows(const std::string& filter) {
    const std::regex pattern(filter);
    bench::row_list chosen;
    for (const bench::row& row : bench::all_rows()) {
        if (std::regex_search(row.work, pattern) || std::regex_search(row.work + ' ' + row.size, pattern) ||
            (!row.group.empty() && std::regex_search(row.group, pattern))) {
            chosen.push_back(row);
        }
    }
    return chosen;
}

int run(const options& options) {
    const bench::row_list rows = chosen_rows(options.filter);
    if (rows.empty()) {
        std::fprintf(stderr, "nd_bench: no work is named like '%s'\n", options.filter.c_str());
        return 2;
    }
    const int core = bench::pin_to_one_core();
    std::fprintf(stderr, "%s, core %d\n", bench::processor_name().c_str(), core);
    bench::line_report lines(rows, options.tab_separated);
    std::optional<bench::json_report> json;
    if (!options.json.empty()) json.emplace(options.json);
    bench::pair_matrix pairs;
    bench::order_spread orders;
    std::optional<engine> inside;
    lines.print_heading();
    for (const bench::row& row : rows) {
        if (row.conditions.in_engine && !inside) inside.emplace();
        const bench::result result = bench::measure(row);
        lines.print(row, result);
        pairs.add(row, result);
        orders.add(row, result);
        if (json) json->add(row, result);
    }
    if (!options.tab_separated) {
        orders.print();
        pairs.print();
    }
    if (json) json->finish();
    std::fprintf(stderr, "%zu of %zu rows above their goal\n", lines.above_goal(), rows.size());
    if (orders.above_goal() != 0)
        std::fprintf(stderr, "%zu groups of orders too far apart\n", orders.above_goal());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        CLI::App app("nd_bench: times of libnd as multiples of the limit");
        options options;
        app.add_option("FILTER", options.filter, "regular expression on the names of works; none for all");
        app.add_flag("--tsv", options.tab_separated, "a tab between columns");
        app.add_option("--json", options.json, "a file for every sample, as JSON");
        CLI11_PARSE(app, argc, argv);
        return run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nd_bench: %s\n", error.what());
        return 2;
    }
}
