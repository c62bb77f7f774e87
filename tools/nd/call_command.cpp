#include "call_command.hpp"

#include "csv_writer.hpp"
#include "engine_session.hpp"
#include "failure.hpp"
#include "forgotten_report.hpp"
#include "inputs.hpp"
#include "range_values.hpp"
#include "table_printer.hpp"
#include "tree_printer.hpp"

#include <cstdio>
#include <sstream>

namespace nd_host {

namespace {

// Checks that can't wait: after the call the work of the addon would be lost.
void check_count(const char* option, const std::vector<std::string>& values, int nlhs) {
    if (values.size() <= static_cast<std::size_t>(nlhs)) {
        return;
    }
    throw failure(exit_status::usage, std::string(option) + " is given " + std::to_string(values.size()) +
                                          " times, but --nlhs asks for " + std::to_string(nlhs));
}

// Nothing for an observer to tell comes from a library that keeps no lists.
forgotten_observer report_for(const call_options& options) {
    if (!options.report) {
        return {};
    }
    if (options.mode != matrix::mode_in_engine) {
        throw failure(exit_status::usage,
                      "--report needs --mode 1: without the engine nothing is kept in mind");
    }
    return [&options](const forgotten& found) {
        std::fputs(forgotten_text(found, options.whole).c_str(), stderr);
    };
}

// The names for the columns of result index; none when there is no list for it.
std::vector<std::string> column_names(const call_options& options, std::size_t index,
                                      const array_view& array) {
    std::vector<std::string> names;
    if (index >= options.columns.size()) {
        return names;
    }
    std::istringstream list(options.columns[index] + ",");
    for (std::string name; std::getline(list, name, ',');) {
        names.push_back(name);
    }
    if (names.size() != array.columns()) {
        throw failure(exit_status::usage, "--columns has " + std::to_string(names.size()) +
                                              " names, but output " + std::to_string(index + 1) + " has " +
                                              std::to_string(array.columns()) + " columns");
    }
    return names;
}

void write_result(const call_options& options, std::size_t index, const ndArray_tag& array) {
    const array_view view(array);
    const std::string title = "output " + std::to_string(index + 1);
    const auto names = column_names(options, index, view);
    if (index >= options.outputs.size()) {
        write_text("-", view.has_numbers() ? table_text(title, view, names, options.whole)
                                           : tree_text(title, array, options.whole));
    } else if (is_long_range(array)) {
        write_text(options.outputs[index], csv_text(array_view(*matrix::expand_colon_object(&array)), names));
    } else if (view.has_numbers()) {
        write_text(options.outputs[index], csv_text(view, names));
    } else {
        throw failure(exit_status::cannot_write,
                      title + " (" + view.description() + ") has no numbers to write as CSV");
    }
}

} // namespace

void run_call(const call_options& options) {
    check_count("--out", options.outputs, options.nlhs);
    check_count("--columns", options.columns, options.nlhs);
    const forgotten_observer report = report_for(options);
    const addon function(options.addon, options.entry);
    start_library(static_cast<matrix::Mode>(options.mode));
    engine_session session;
    const auto inputs = read_inputs(options.inputs, options.form);
    const auto results = session.call(function, options.nlhs, inputs, report);
    for (std::size_t i = 0; i < results.size(); ++i) {
        write_result(options, i, *results[i]);
    }
}

} // namespace nd_host
