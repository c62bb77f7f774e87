/*
 * nd eval: lines of the notation, carried out one after another; what they give is shown as they go.
 */
#ifndef ND_TOOLS_EVAL_COMMAND_HPP
#define ND_TOOLS_EVAL_COMMAND_HPP

#include <string>
#include <vector>

namespace nd_host {

struct eval_options {
    std::vector<std::string> lines;  ///< none: standard input
    std::vector<std::string> addons; ///< files; each is a function under its file's name
    bool whole = false;              ///< show long results whole
    bool report = false;             ///< tell on standard error what addon functions forgot
};

/// Raises failure for what goes wrong before the first line, and for the first line that fails: identifier and text, the line, and a caret
/// under the place. At a terminal such a line is told, and the next one read.
void run_eval(const eval_options& options);

} // namespace nd_host

#endif
