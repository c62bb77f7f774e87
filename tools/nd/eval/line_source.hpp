/*
 * Where the lines of `nd eval` come from: words of the command line, a file or pipe, or a person at a terminal, who gets a prompt, an
 * editable line and the history of earlier sessions.
 */
#ifndef ND_TOOLS_EVAL_LINE_SOURCE_HPP
#define ND_TOOLS_EVAL_LINE_SOURCE_HPP

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nd_host::eval {

class line_source {
public:
    virtual ~line_source() = default;
    line_source(const line_source&) = delete;
    line_source& operator=(const line_source&) = delete;

    /// The next line, without its end; nothing when there are no more. Raises failure(bad_input) when reading fails.
    virtual std::optional<std::string> next() = 0;

    /// Whether a person sees each result before the next line: a line that fails is no reason to end.
    virtual bool is_interactive() const { return false; }

protected:
    line_source() = default;
};

/// The words, or standard input where there are none. Lines of a terminal are kept in the file history, unless that is empty.
std::unique_ptr<line_source> open_lines(const std::vector<std::string>& words, const std::string& history);

/// Where a person's lines are kept: ND_HISTORY, else .nd_history in the home directory. Empty for nowhere.
std::string usual_history();

} // namespace nd_host::eval

#endif
