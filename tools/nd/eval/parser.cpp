#include "eval/parser.hpp"

#include "eval/lexer.hpp"
#include "eval/notation_error.hpp"

#include <utility>

namespace nd_host::eval {

namespace {

constexpr int deepest = 400; // the tree is walked by recursion

template <class Node>
expression_ptr make(std::size_t place, Node&& node) {
    return std::make_unique<expression>(expression{std::forward<Node>(node), place});
}

// Sets a value for as long as it lives.
template <class T>
class for_now {
public:
    for_now(T& variable, T value) : variable_(variable), before_(std::exchange(variable, value)) {}
    ~for_now() { variable_ = before_; }
    for_now(const for_now&) = delete;
    for_now& operator=(const for_now&) = delete;

private:
    T& variable_;
    T before_;
};

class parser {
public:
    explicit parser(std::string_view source) : tokens_(tokens_of(source)) {}

    std::vector<statement> run() {
        std::vector<statement> statements;
        while (!at_end()) {
            if (skip_separator()) continue;
            statements.push_back(parse_statement());
            if (!at_end() && !is_separator()) {
                fail("something stands behind the end of the statement");
            }
            statements.back().quiet = now().is(";");
        }
        return statements;
    }

private:
    const token& now() const { return tokens_[next_]; }
    const token& after() const { return tokens_[next_ + 1]; }
    bool at_end() const { return now().kind == token_kind::end; }
    bool is_separator() const { return now().is(";") || now().is(",") || now().kind == token_kind::newline; }
    bool skip_separator() {
        const bool skipped = is_separator();
        next_ += skipped ? 1 : 0;
        return skipped;
    }
    bool take(std::string_view symbol) {
        const bool taken = now().is(symbol);
        next_ += taken ? 1 : 0;
        return taken;
    }
    void want(std::string_view symbol) {
        if (!take(symbol)) {
            fail(std::string(symbol) + " is missing here");
        }
    }
    [[noreturn]] void fail(const std::string& text) const { fail(text, now().place); }
    [[noreturn]] static void fail(const std::string& text, std::size_t place) {
        throw placed_failure(notation_error("syntax", text), place);
    }

    statement parse_statement() {
        statement result{{}, {}, false, false, now().place};
        expression_ptr first = parse_value();
        if (!now().is("=")) {
            result.value = std::move(first);
            return result;
        }
        if (auto* bracket = std::get_if<bracket_expression>(&first->node); bracket && !bracket->braces) {
            if (bracket->rows.size() != 1) {
                fail("there is no single row of variables to assign to", first->place);
            }
            result.several = true;
            for (expression_ptr& part : bracket->rows.front()) {
                result.targets.push_back(target_of(*part));
            }
        } else {
            result.targets.push_back(target_of(*first));
        }
        ++next_;
        result.value = parse_value();
        return result;
    }

    assignment_target target_of(expression& left) {
        assignment_target target{{}, {}, left.place};
        const expression* base = &left;
        if (auto* path = std::get_if<path_expression>(&left.node)) {
            target.path = std::move(path->path);
            base = path->base.get();
        }
        const auto* variable = std::get_if<name_use>(&base->node);
        if (variable == nullptr) {
            fail("no variable stands here to assign to", left.place);
        }
        target.name = variable->name;
        return target;
    }

    // One level more, of parentheses or of the tree of an expression.
    class level {
    public:
        explicit level(parser& p) : parser_(p) { parser_.deepen(1); }
        void deepen() {
            parser_.deepen(1);
            ++levels_;
        }
        ~level() { parser_.depth_ -= levels_; }
        level(const level&) = delete;
        level& operator=(const level&) = delete;

    private:
        parser& parser_;
        int levels_ = 1;
    };
    void deepen(int levels) {
        if (depth_ + levels > deepest) {
            fail("the line has more than " + std::to_string(deepest) + " levels");
        }
        depth_ += levels;
    }

    expression_ptr parse_value() {
        const level here(*this);
        const std::size_t place = now().place;
        expression_ptr start = parse_sum();
        if (!take(":")) {
            return start;
        }
        expression_ptr second = parse_sum();
        if (!take(":")) {
            return make(place, range_expression{std::move(start), nullptr, std::move(second)});
        }
        expression_ptr stop = parse_sum();
        return make(place, range_expression{std::move(start), std::move(second), std::move(stop)});
    }

    // In rows, "a -b" are two values, "a - b" and "a-b" one.
    bool parts_values() const { return in_rows_ && now().blank_before && !after().blank_before; }

    template <class Operand>
    expression_ptr parse_operations(std::string_view one, std::string_view other, Operand parse_operand) {
        level here(*this);
        expression_ptr left = parse_operand();
        while ((now().is(one) || now().is(other)) && !parts_values()) {
            here.deepen();
            const token& operation = tokens_[next_++];
            expression_ptr right = parse_operand();
            left = make(operation.place,
                        arithmetic_expression{operation.text.front(), std::move(left), std::move(right)});
        }
        return left;
    }
    expression_ptr parse_sum() {
        return parse_operations("+", "-", [this] { return parse_product(); });
    }
    expression_ptr parse_product() {
        return parse_operations("*", "/", [this] { return parse_signed(); });
    }

    expression_ptr parse_signed() {
        if (!now().is("+") && !now().is("-")) {
            return parse_postfix();
        }
        const level here(*this);
        const token& sign = tokens_[next_++];
        return make(sign.place, sign_expression{sign.text == "-", parse_signed()});
    }

    expression_ptr parse_postfix() {
        level here(*this);
        const std::size_t place = now().place;
        expression_ptr value = parse_primary();
        while (!(in_rows_ && now().blank_before)) {
            if (now().is("'") || now().is(".'")) {
                here.deepen();
                const bool conjugate = tokens_[next_++].text == "'";
                value = make(place, transpose_expression{conjugate, std::move(value)});
            } else if (now().is("(") || now().is("{") || now().is(".")) {
                here.deepen();
                value = make(place, path_expression{std::move(value), parse_path()});
            } else {
                break;
            }
        }
        return value;
    }

    std::vector<path_step> parse_path() {
        std::vector<path_step> path;
        level here(*this); // a path is stored along by recursion
        while (!(in_rows_ && now().blank_before)) {
            here.deepen();
            const std::size_t place = now().place;
            if (take("(")) {
                path.push_back({step_kind::parentheses, parse_subscripts(")"), {}, place});
            } else if (take("{")) {
                path.push_back({step_kind::braces, parse_subscripts("}"), {}, place});
                if (path.back().subscripts.empty()) {
                    fail("there is no subscript between the braces", place);
                }
            } else if (take(".")) {
                if (now().kind != token_kind::name) {
                    fail("a field's name is missing here");
                }
                path.push_back({step_kind::field, {}, tokens_[next_++].text, place});
            } else {
                break;
            }
        }
        return path;
    }

    expression_list parse_subscripts(std::string_view closing) {
        const for_now rows(in_rows_, false);
        const for_now subscript(in_subscript_, true);
        expression_list subscripts;
        if (take(closing)) {
            return subscripts;
        }
        do {
            const bool colon = now().is(":") && (after().is(",") || after().is(closing));
            subscripts.push_back(colon ? make(tokens_[next_++].place, all_literal{}) : parse_value());
        } while (take(","));
        want(closing);
        return subscripts;
    }

    expression_ptr parse_primary() {
        const token& first = now();
        switch (first.kind) {
        case token_kind::number:
        case token_kind::imaginary:
            ++next_;
            return make(first.place, number_literal{first.text, first.kind == token_kind::imaginary});
        case token_kind::text:
            ++next_;
            return make(first.place, text_literal{first.text});
        case token_kind::name:
            ++next_;
            return parse_name(first);
        default:
            break;
        }
        if (take("(")) {
            const for_now rows(in_rows_, false);
            expression_ptr value = parse_value();
            want(")");
            return value;
        }
        if (take("[")) return parse_rows("]", first.place);
        if (take("{")) return parse_rows("}", first.place);
        fail(at_end() ? "the line ends where a value should stand" : "no value begins here");
    }

    expression_ptr parse_name(const token& name) {
        if (name.text != "end") {
            return make(name.place, name_use{name.text});
        }
        if (!in_subscript_) {
            fail("end has a meaning in subscripts only", name.place);
        }
        return make(name.place, end_literal{});
    }

    expression_ptr parse_rows(std::string_view closing, std::size_t place) {
        const for_now in_rows(in_rows_, true);
        bracket_expression bracket{closing == "}", {}};
        expression_list row;
        const auto end_row = [&] {
            if (!row.empty()) {
                bracket.rows.push_back(std::exchange(row, {}));
            }
        };
        while (!now().is(closing)) {
            if (at_end()) {
                fail("this bracket isn't closed", place);
            }
            if (now().is(";") || now().kind == token_kind::newline) {
                ++next_;
                end_row();
            } else if (row.empty() || !take(",") || !now().is(closing)) {
                row.push_back(parse_value());
            }
        }
        ++next_;
        end_row();
        return make(place, std::move(bracket));
    }

    std::vector<token> tokens_;
    std::size_t next_ = 0;
    int depth_ = 0;
    bool in_rows_ = false;
    bool in_subscript_ = false;
};

} // namespace

std::vector<statement> parse(std::string_view source) { return parser(source).run(); }

} // namespace nd_host::eval
