/*
 * Reads a source text of the notation into statements.
 *
 *   statements  statement { (";" | "," | newline) statement }
 *   statement   value | target "=" value | "[" target { [","] target } "]" "=" value
 *   target      name { access }
 *   value       sum [ ":" sum [ ":" sum ] ]
 *   sum         product { ("+" | "-") product }
 *   product     signed { ("*" | "/") signed }
 *   signed      { "+" | "-" } postfix
 *   postfix     primary { access | "'" | ".'" }
 *   access      "(" [ subscript { "," subscript } ] ")" | "{" subscript { "," subscript } "}" | "." name
 *   subscript   ":" | value, where end is the last position
 *   primary     number | text | name | "(" value ")" | "[" rows "]" | "{" rows "}"
 *   rows        row { (";" | newline) row };  row  [ value { [","] value } ]
 *
 * Between brackets a blank parts values: [a (1)] has two, [1 -2] too, [1 - 2] one.
 */
#ifndef ND_TOOLS_EVAL_PARSER_HPP
#define ND_TOOLS_EVAL_PARSER_HPP

#include "eval/syntax.hpp"

#include <string_view>
#include <vector>

namespace nd_host::eval {

/// The statements in their order; none for blank lines and comments. Raises placed_failure (nd:eval:syntax), also for more
/// than 400 levels of parentheses and operators.
std::vector<statement> parse(std::string_view source);

} // namespace nd_host::eval

#endif
