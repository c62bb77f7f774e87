/*
 * How the host ends: one exit status for each kind of failure, and the exception that carries it to main().
 *
 * The numbers are an interface (docs/formats.md lists them for scripts): never renumber, add at the end.
 */
#ifndef ND_TOOLS_FAILURE_HPP
#define ND_TOOLS_FAILURE_HPP

#include <stdexcept>
#include <string>

namespace nd_host {

enum class exit_status : int {
    success = 0,
    internal = 1,          ///< the host itself failed, e.g. out of memory outside the call
    usage = 2,             ///< the command line makes no sense
    bad_input = 3,         ///< an input file can't be read, or isn't CSV
    not_an_addon = 4,      ///< missing, not a shared object, no entry point, or no version stamp
    wrong_version = 5,     ///< compiled for an interface version that this library doesn't take
    error_raised = 6,      ///< the call raised an error that has an identifier
    foreign_exception = 7, ///< the call threw something that isn't an error of the library
    broken_outputs = 8,    ///< outputs missing, doubled, or more than were asked for
    cannot_write = 9       ///< a result can't be written
};

/// A failure with its exit status; what() is the whole line that the user sees.
class failure : public std::runtime_error {
public:
    failure(exit_status status, const std::string& text) : std::runtime_error(text), status_(status) {}
    exit_status status() const noexcept { return status_; }

private:
    exit_status status_;
};

} // namespace nd_host

#endif
