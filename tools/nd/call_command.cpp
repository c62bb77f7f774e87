#include "call_command.hpp"

#include "addon.hpp"
#include "csv_writer.hpp"
#include "engine_session.hpp"
#include "failure.hpp"
#include "inputs.hpp"
#include "table_printer.hpp"

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
        write_text("-", table_text(title, view, names, options.whole));
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
    const addon function(options.addon, options.entry);
    const engine_session session(static_cast<matrix::Mode>(options.mode));
    const auto inputs = read_inputs(options.inputs);
    const auto results = session.call(function, options.nlhs, inputs);
    for (std::size_t i = 0; i < results.size(); ++i) {
        write_result(options, i, *results[i]);
    }
}

} // namespace nd_host
