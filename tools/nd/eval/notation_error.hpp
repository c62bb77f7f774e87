/*
 * What can go wrong with a line of the notation, and where in the line.
 *
 * A notation_error is raised where the fault is met. Whoever knows the place in the line turns it, and whatever the library raised, into a
 * placed_failure by at(): the innermost place counts.
 */
#ifndef ND_TOOLS_EVAL_NOTATION_ERROR_HPP
#define ND_TOOLS_EVAL_NOTATION_ERROR_HPP

#include "failure.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace nd_host::eval {

/// A fault of the line itself. The identifiers are nd:eval: and one of
///   syntax          it can't be read
///   undefinedName   neither a variable nor a function has the name
///   undefinedField  the struct has no such field
///   notACell, notAStruct  braces or a field of something else
///   valueCount      one value is wanted and there are more or none
///   arguments       a function can't take them
///   operands        + - * / and ' can't take them
///   dimensions      parts of [...] or {...} don't fit together
class notation_error : public failure {
public:
    notation_error(const std::string& key, const std::string& text)
        : failure(exit_status::bad_notation, "nd:eval:" + key + ": " + text) {}
};

/// A failure and the byte of the source where it shows.
class placed_failure : public failure {
public:
    placed_failure(const failure& why, std::size_t place) : failure(why), place_(place) {}
    std::size_t place() const noexcept { return place_; }

private:
    std::size_t place_;
};

/// What doing gives; what it raises leaves as a placed_failure, at place unless it has a place already.
template <class Doing>
auto at(std::size_t place, Doing&& doing) -> decltype(std::forward<Doing>(doing)()) {
    try {
        return std::forward<Doing>(doing)();
    } catch (const placed_failure&) {
        throw;
    } catch (const std::exception&) {
        throw placed_failure(failure_of_line(), place);
    }
}

/// The line of source where the failure shows, and below it a caret under the place, both indented; no line end behind them.
std::string marked_line(std::string_view source, std::size_t place);

} // namespace nd_host::eval

#endif
