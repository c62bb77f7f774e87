/*
 * nd: the command-line host of libnd. It loads addon functions, feeds them arrays and shows what comes back.
 *
 * This file is the command line only. engine_session is the part to read for embedding libnd in a program of one's own.
 */
#include "addon.hpp"
#include "call_command.hpp"
#include "eval/eval_command.hpp"
#include "failure.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <string>
#include <vector>

namespace {

using nd_host::exit_status;

void add_call(CLI::App& app, nd_host::call_options& options) {
    CLI::App* call = app.add_subcommand("call", "call an addon function and show what it returns");
    call->add_option("ADDON", options.addon, "the addon, a shared object")->required();
    call->add_option("INPUT", options.inputs, "CSV files and numbers; after -- also -inf and the like");
    call->add_option("--nlhs", options.nlhs, "how many outputs to ask for")
        ->check(CLI::Range(0, 255))
        ->capture_default_str();
    call->add_option("--mode", options.mode, "1: errors are raised; 0: plain library, creators return null")
        ->check(CLI::Range(0, 1))
        ->capture_default_str();
    call->add_option("--entry", options.entry, "name of the function to call")->capture_default_str();
    call->add_option("--out", options.outputs,
                     "write an output as CSV ('-' for standard output); repeat for the next")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    call->add_option("--columns", options.columns,
                     "names for the columns of an output, a,b,c; repeat for the next")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    call->add_flag_callback(
        "--struct", [&options] { options.form = nd_host::csv_form::struct_of_columns; },
        "give each CSV file as a struct with a column for each name in its first line: doubles, or a cell of "
        "texts");
    call->add_flag("--report", options.report,
                   "tell on standard error which arrays and memory the addon forgot");
    call->add_flag("--all", options.whole, "print long results and reports whole");
    call->callback([&options] { nd_host::run_call(options); });
}

void add_eval(CLI::App& app, nd_host::eval_options& options) {
    CLI::App* eval = app.add_subcommand("eval", "carry out lines of the notation and show what they give");
    eval->add_option("LINE", options.lines,
                     "lines such as \"x = 1:5; x(2) = []\"; without one, standard input");
    eval->add_option("--addon", options.addons, "an addon, called by its file's name; repeat for the next")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    eval->add_flag("--report", options.report,
                   "tell on standard error which arrays and memory addons forgot");
    eval->add_flag("--all", options.whole, "show long results and reports whole");
    eval->callback([&options] { nd_host::run_eval(options); });
}

// The words of the command line. CLI11 would take "[1 2]" apart as a list of values; a blank in front keeps it whole, and means nothing
// in a line of the notation.
std::vector<std::string> words_of(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    for (std::string& word : words) {
        if (words.front() == "eval" && word.rfind('[', 0) == 0) {
            word.insert(0, 1, ' ');
        }
    }
    std::reverse(words.begin(), words.end()); // the order that CLI11 wants
    return words;
}

int run(int argc, char** argv) {
    CLI::App app("nd: calls addon functions of libnd with arrays from CSV files, and evaluates lines", "nd");
    app.set_version_flag("--version", "nd " ND_VERSION ", interface version " +
                                          nd_host::version_text(nd_host::current_interface));
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 2 usage, 3 input, 4 no addon, 5 interface version, 6 error raised, 7 foreign "
        "exception,\n8 broken outputs, 9 can't write, 10 a line that can't be read, 1 anything else. An "
        "error's identifier and text go to "
        "standard error.");
    nd_host::call_options options;
    add_call(app, options);
    nd_host::eval_options eval_options;
    add_eval(app, eval_options);
    try {
        app.parse(words_of(argc, argv));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(exit_status::usage);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception&) {
        return static_cast<int>(nd_host::tell_failure());
    }
}
