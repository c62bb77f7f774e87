/*
 * A source text of the notation as tokens.
 *
 *   number   12  0.5  .5  1e-3; with an i or j behind it imaginary. The digits are kept: 64-bit integers need them all
 *   text     'it''s' in UTF-8; a quote stands for itself when it is doubled
 *   name     letters, digits and underscores, not a digit first
 *   symbol   ( ) [ ] { } , ; : = + - * / . and ' and .' which transpose
 *   newline  ends a statement, or a row between brackets
 *
 * A quote right behind a value, without a blank, transposes; any other begins a text. A % begins a comment, as far as the line goes.
 */
#ifndef ND_TOOLS_EVAL_LEXER_HPP
#define ND_TOOLS_EVAL_LEXER_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace nd_host::eval {

enum class token_kind { number, imaginary, text, name, symbol, newline, end };

struct token {
    token_kind kind;
    std::string text;  ///< digits, content of a text, name or symbol
    std::size_t place; ///< of its first byte in the source
    bool blank_before;

    bool is(std::string_view symbol) const { return kind == token_kind::symbol && text == symbol; }
};

/// The tokens, the last of them of kind end. Raises placed_failure (nd:eval:syntax).
std::vector<token> tokens_of(std::string_view source);

} // namespace nd_host::eval

#endif
