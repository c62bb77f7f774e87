/*
 * How the host ends: one exit status for each kind of failure, the exception that carries it to main(), and what failure an
 * exception of another kind is.
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
    internal = 1,      ///< the host itself failed, e.g. out of memory for its own work
    usage = 2,         ///< the command line makes no sense
    bad_input = 3,     ///< an input file can't be read, or isn't CSV
    not_an_addon = 4,  ///< missing, not a shared object, no entry point, or no version stamp
    wrong_version = 5, ///< compiled for an interface version that this library doesn't take
    error_raised =
        6, ///< an error that has an identifier, raised by the call or by the library before or after
    foreign_exception = 7, ///< the call threw something that isn't an error of the library
    broken_outputs = 8,    ///< outputs missing, doubled, ended, or more than were asked for; inputs ended
    cannot_write = 9,      ///< a result can't be written
    bad_notation = 10      ///< a line of the notation can't be read, or asks for what there isn't
};

/// A failure with its exit status; what() is the whole line that the user sees.
class failure : public std::runtime_error {
public:
    failure(exit_status status, const std::string& text) : std::runtime_error(text), status_(status) {}
    exit_status status() const noexcept { return status_; }

private:
    exit_status status_;
};

/// The exception that is being handled, as a failure: thrown by an addon function, by what a line of the notation asks of the library, or
/// elsewhere in the host. Errors of the library keep their identifier in all of them. For use in a catch block; but for
/// failure_of_call() in one for std::exception.
failure failure_of_call();
failure failure_of_line();
failure failure_of_host();

/// Tells what failure_of_host() says on standard error; also where memory is too short for a failure. Its status.
exit_status tell_failure();

} // namespace nd_host

#endif
