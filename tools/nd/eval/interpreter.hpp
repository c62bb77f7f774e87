/*
 * Carries out statements of the notation, one after another, on one set of variables.
 */
#ifndef ND_TOOLS_EVAL_INTERPRETER_HPP
#define ND_TOOLS_EVAL_INTERPRETER_HPP

#include "eval/evaluator.hpp"

#include <string>
#include <vector>

namespace nd_host::eval {

/// A result, for the eye: a variable's value, which is borrowed until the next statement, or one of its own.
struct named_value {
    std::string name;
    const ndArray_tag* value = nullptr;
    array_ptr kept; ///< value, where it is no variable's
};

class interpreter {
public:
    /// The session outlives the interpreter.
    explicit interpreter(engine_session& session, forgotten_observer observer = {})
        : around_{session, addons_, std::move(observer)} {}
    interpreter(const interpreter&) = delete;
    interpreter& operator=(const interpreter&) = delete;

    /// Makes an addon's function known under the name of its file, without folder and ending. Raises failure.
    void add_addon(const std::string& path);

    /// What the statement gives: the variables that it has changed, whole, or the value that it asks for. A value that is no variable's is
    /// kept in the variable ans. Raises placed_failure: variables then have the values that they had, of several those before
    /// the one that failed their new ones.
    std::vector<named_value> run(const statement& what);

    const workspace& variables() const { return variables_; }

private:
    std::vector<named_value> show(const expression& what);
    void assign(const assignment_target& target, array_ptr value);

    workspace variables_;
    std::map<std::string, addon, std::less<>> addons_;
    surroundings around_;
};

} // namespace nd_host::eval

#endif
