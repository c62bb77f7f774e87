/*
 * Stores values into variables and parts of them, and deletes elements.
 *
 * A path is walked from the variable to the place: what a step holds is taken as a copy that shares its data, changed by the rest of the
 * path and put back. Whatever is written to is unshared first. A variable that fails to take a value keeps the one it had.
 *
 *   x(i) = y     y is fitted to x's class (result_class.hpp), then stored
 *   x(i) = []    deletes, when [] stands there literally
 *   x{i} = y     x is a cell, or becomes one
 *   x(i).f = y   x is a struct, or becomes one; a field that it lacks is added. Without (i) x has one element or none
 */
#ifndef ND_TOOLS_EVAL_ASSIGNER_HPP
#define ND_TOOLS_EVAL_ASSIGNER_HPP

#include "eval/evaluator.hpp"

#include <span>
#include <string>

namespace nd_host::eval {

class assigner {
public:
    /// Subscripts are evaluated by the evaluator.
    explicit assigner(evaluator& subscripts) : evaluator_(subscripts) {}

    /// Stores value at the place that path leads to, or, when it is null, deletes the elements there: path ends in parentheses then. target is the variable, null when there is none yet.
    /// Raises placed_failure; target then has the value that it had.
    void store(array_ptr& target, std::span<const path_step> path, array_ptr value);

private:
    subscript_list some_subscripts(const path_step& step, const ndArray_tag& target);
    void store_elements(array_ptr& target, std::span<const path_step> path, array_ptr value);
    void store_content(array_ptr& target, std::span<const path_step> path, array_ptr value);
    void store_field(array_ptr& target, std::span<const path_step> path, array_ptr value);

    evaluator& evaluator_;
};

} // namespace nd_host::eval

#endif
