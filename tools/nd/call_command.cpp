#include "call_command.hpp"

#include "addon.hpp"
#include "csv_writer.hpp"
#include "engine_session.hpp"
#include "failure.hpp"
#include "inputs.hpp"
#include "table_printer.hpp"

namespace nd_host {

namespace {

// Checks that can't wait: after the call the work of the addon would be lost.
void check_options(const call_options& options) {
    if (options.outputs.size() > static_cast<std::size_t>(options.nlhs)) {
        throw failure(exit_status::usage, "--out is given " + std::to_string(options.outputs.size()) +
                                              " times, but --nlhs asks for " + std::to_string(options.nlhs));
    }
}

void check_columns(const call_options& options, const array_view& first) {
    if (options.columns.empty() || options.columns.size() == first.columns()) {
        return;
    }
    throw failure(exit_status::usage, "--columns has " + std::to_string(options.columns.size()) +
                                          " names, but the first result has " +
                                          std::to_string(first.columns()) + " columns");
}

void write_result(const call_options& options, std::size_t index, const ndArray_tag& array) {
    const array_view view(array);
    const std::string title = "output " + std::to_string(index + 1);
    if (index == 0) {
        check_columns(options, view);
    }
    const auto names = index == 0 ? options.columns : std::vector<std::string>();
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
    check_options(options);
    const addon function(options.addon, options.entry);
    const engine_session session(static_cast<matrix::Mode>(options.mode));
    const auto inputs = read_inputs(options.inputs);
    const auto results = session.call(function, options.nlhs, inputs);
    for (std::size_t i = 0; i < results.size(); ++i) {
        write_result(options, i, *results[i]);
    }
}

} // namespace nd_host
