/*
 * Computes what expressions of the notation stand for.
 *
 * A name is a variable when there is one, then a function of the notation, then an addon. Variables are only read here; what comes out
 * shares their data. In subscripts a range stays a colon object, elsewhere it is expanded.
 */
#ifndef ND_TOOLS_EVAL_EVALUATOR_HPP
#define ND_TOOLS_EVAL_EVALUATOR_HPP

#include "engine_session.hpp"
#include "eval/parts.hpp"
#include "eval/syntax.hpp"
#include "eval/values.hpp"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace nd_host::eval {

/// Variables by name: owned, on no list, with local scope.
using workspace = std::map<std::string, array_ptr, std::less<>>;

/// What names can mean besides the notation's own functions.
struct surroundings {
    engine_session& session;
    const std::map<std::string, addon, std::less<>>& addons;
    forgotten_observer observer; ///< of addon calls
};

class evaluator {
public:
    /// Both outlive the evaluator.
    evaluator(const workspace& variables, const surroundings& around)
        : variables_(variables), around_(around) {}

    /// The value. Raises placed_failure: whatever goes wrong; nd:eval:valueCount where there isn't one value.
    array_ptr one(const expression& what);

    /// The values of what stands for any number of them, as c{:} does. An addon at the end of the path is asked for nlhs outputs; with 0
    /// it may have one or none.
    std::vector<array_ptr> many(const expression& what, int nlhs = 1);

    /// The subscripts of a step; in them end tells of value.
    subscript_list subscripts(const path_step& step, const ndArray_tag& value);

private:
    struct end_context {
        const ndArray_tag* value;
        std::size_t position; // from 1
        std::size_t count;
    };

    class end_in;

    array_ptr value_of(const number_literal& node);
    array_ptr value_of(const text_literal& node);
    array_ptr value_of(const all_literal&);
    array_ptr value_of(const end_literal&);
    array_ptr value_of(const range_expression& node, bool as_object = false);
    array_ptr value_of(const sign_expression& node);
    array_ptr value_of(const arithmetic_expression& node);
    array_ptr value_of(const transpose_expression& node);
    array_ptr value_of(const bracket_expression& node);

    std::vector<array_ptr> values_of_name(const name_use& node, int nlhs);
    std::vector<array_ptr> values_of_path(const path_expression& node, int nlhs);
    std::vector<array_ptr> values_along(const ndArray_tag& start, const std::vector<path_step>& path,
                                        std::size_t next);
    std::vector<array_ptr> values_of_step(const ndArray_tag& value, const std::vector<path_step>& path,
                                          std::size_t& next);
    std::vector<array_ptr> call_function(const std::string& name, const expression_list& arguments, int nlhs);
    array_ptr exact_integer(const std::string& function, const expression_list& arguments) const;
    std::vector<array_ptr> values_of_subscript(const expression& subscript, const end_context& context);
    const ndArray_tag* variable(const expression& what) const;

    const workspace& variables_;
    const surroundings& around_;
    std::vector<end_context> ends_;
};

} // namespace nd_host::eval

#endif
