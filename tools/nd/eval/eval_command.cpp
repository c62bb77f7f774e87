#include "eval/eval_command.hpp"

#include "csv_writer.hpp"
#include "engine_session.hpp"
#include "eval/interpreter.hpp"
#include "eval/line_source.hpp"
#include "eval/notation_error.hpp"
#include "eval/parser.hpp"
#include "forgotten_report.hpp"
#include "table_printer.hpp"
#include "tree_printer.hpp"

#include <cstdio>

namespace nd_host {

namespace {

// Matrices as tables; what fits a line, and containers, as trees.
std::string shown(const eval::named_value& result, bool whole) {
    const array_view view(*result.value);
    const bool on_a_line = view.rows() <= 1 || view.columns() <= 1;
    return view.has_numbers() && !on_a_line ? table_text(result.name, view, {}, whole)
                                            : tree_text(result.name, *result.value, whole);
}

void run_line(eval::interpreter& interpreter, const std::string& line, bool whole) {
    for (const eval::statement& statement : eval::parse(line)) {
        const auto results = interpreter.run(statement);
        if (statement.quiet) {
            continue;
        }
        for (const eval::named_value& result : results) {
            write_text("-", shown(result, whole));
        }
    }
}

// Raises what goes wrong with the line and where in it.
void run_marked(eval::interpreter& interpreter, const std::string& line, bool whole) {
    try {
        run_line(interpreter, line, whole);
    } catch (const eval::placed_failure& why) {
        throw failure(why.status(), why.what() + ("\n" + eval::marked_line(line, why.place())));
    }
}

} // namespace

void run_eval(const eval_options& options) {
    start_library(matrix::mode_in_engine);
    engine_session session;
    forgotten_observer observer;
    if (options.report) {
        observer = [&options](const forgotten& found) {
            std::fputs(forgotten_text(found, options.whole).c_str(), stderr);
        };
    }
    eval::interpreter interpreter(session, observer);
    for (const std::string& path : options.addons) {
        interpreter.add_addon(path);
    }
    const auto lines = eval::open_lines(options.lines, eval::usual_history());
    while (const auto line = lines->next()) {
        try {
            run_marked(interpreter, *line, options.whole);
        } catch (const failure& why) {
            if (!lines->is_interactive()) {
                throw;
            }
            std::fprintf(stderr, "nd: %s\n", why.what());
        }
    }
}

} // namespace nd_host
