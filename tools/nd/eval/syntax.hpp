/*
 * What a line of the notation says, as a tree. Places are bytes of the source, for messages.
 */
#ifndef ND_TOOLS_EVAL_SYNTAX_HPP
#define ND_TOOLS_EVAL_SYNTAX_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace nd_host::eval {

struct expression;
using expression_ptr = std::unique_ptr<expression>;
using expression_list = std::vector<expression_ptr>;

struct number_literal {
    std::string digits;
    bool imaginary;
};
struct text_literal {
    std::string text;
};
struct all_literal {}; ///< the colon that stands alone as a subscript
struct end_literal {}; ///< the last position of the dimension in whose subscript it stands
struct name_use {
    std::string name;
};
struct range_expression {
    expression_ptr start;
    expression_ptr step; ///< null: 1
    expression_ptr stop;
};
struct sign_expression {
    bool minus;
    expression_ptr operand;
};
struct arithmetic_expression {
    char operation; ///< + - * /
    expression_ptr left;
    expression_ptr right;
};
struct transpose_expression {
    bool conjugate;
    expression_ptr operand;
};
struct bracket_expression {
    bool braces; ///< {...}, which makes a cell; else [...]
    std::vector<expression_list> rows;
};

enum class step_kind { parentheses, braces, field };

/// One step from a value to a part of it: (1,:), {3}, .name
struct path_step {
    step_kind kind;
    expression_list subscripts; ///< of parentheses and braces
    std::string field;
    std::size_t place;
};

struct path_expression {
    expression_ptr base;
    std::vector<path_step> path; ///< at least one
};

struct expression {
    std::variant<number_literal, text_literal, all_literal, end_literal, name_use, range_expression,
                 sign_expression, arithmetic_expression, transpose_expression, bracket_expression,
                 path_expression>
        node;
    std::size_t place;
};

/// Where an assignment stores: a variable, or a part of it.
struct assignment_target {
    std::string name;
    std::vector<path_step> path;
    std::size_t place;
};

struct statement {
    std::vector<assignment_target> targets; ///< none: the value is asked for
    expression_ptr value;
    bool several; ///< [a, b] = ...
    bool quiet;   ///< a semicolon stands behind it: nothing is shown
    std::size_t place;
};

} // namespace nd_host::eval

#endif
