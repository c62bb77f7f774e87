/*
 * nd call: one addon function, called once with arrays from files and numbers, its results printed or saved.
 */
#ifndef ND_TOOLS_CALL_COMMAND_HPP
#define ND_TOOLS_CALL_COMMAND_HPP

#include "addon.hpp"
#include "inputs.hpp"

#include <string>
#include <vector>

namespace nd_host {

struct call_options {
    std::string addon;
    std::string entry = usual_entry;
    std::vector<std::string> inputs;
    std::vector<std::string>
        outputs; ///< files, "-" for standard output; the k-th takes result k, the rest is printed
    std::vector<std::string> columns; ///< names "a,b,c"; the k-th list is for the columns of result k
    csv_form form = csv_form::matrix; ///< what CSV files among the inputs become
    int nlhs = 1;
    int mode = 1;
    bool whole = false;  ///< print long results and reports whole
    bool report = false; ///< tell on standard error what the function forgot
};

/// Raises failure; when it returns the call was a success and everything is written.
void run_call(const call_options& options);

} // namespace nd_host

#endif
