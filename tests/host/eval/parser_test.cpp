// Lines of the notation as trees, written out with all their parentheses.
#include <eval/notation_error.hpp>
#include <eval/parser.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace nd_host::eval;

std::string text_of(const expression& what);

std::string list_of(const expression_list& list) {
    std::string text;
    for (const auto& part : list) {
        text += (text.empty() ? "" : ",") + text_of(*part);
    }
    return text;
}

std::string path_of(const std::vector<path_step>& path) {
    std::string text;
    for (const path_step& step : path) {
        text += step.kind == step_kind::field    ? "." + step.field
                : step.kind == step_kind::braces ? "{" + list_of(step.subscripts) + "}"
                                                 : "(" + list_of(step.subscripts) + ")";
    }
    return text;
}

struct writer {
    std::string operator()(const number_literal& n) const { return n.digits + (n.imaginary ? "i" : ""); }
    std::string operator()(const text_literal& n) const { return "'" + n.text + "'"; }
    std::string operator()(const all_literal&) const { return ":"; }
    std::string operator()(const end_literal&) const { return "end"; }
    std::string operator()(const name_use& n) const { return n.name; }
    std::string operator()(const range_expression& n) const {
        return "<" + text_of(*n.start) + ":" + (n.step ? text_of(*n.step) + ":" : "") + text_of(*n.stop) +
               ">";
    }
    std::string operator()(const sign_expression& n) const {
        return std::string("<") + (n.minus ? "-" : "+") + text_of(*n.operand) + ">";
    }
    std::string operator()(const arithmetic_expression& n) const {
        return "<" + text_of(*n.left) + n.operation + text_of(*n.right) + ">";
    }
    std::string operator()(const transpose_expression& n) const {
        return "<" + text_of(*n.operand) + (n.conjugate ? "'" : ".'") + ">";
    }
    std::string operator()(const bracket_expression& n) const {
        std::string rows;
        for (const auto& row : n.rows) rows += (rows.empty() ? "" : ";") + list_of(row);
        return (n.braces ? "{" : "[") + rows + (n.braces ? "}" : "]");
    }
    std::string operator()(const path_expression& n) const { return text_of(*n.base) + path_of(n.path); }
};

std::string text_of(const expression& what) { return std::visit(writer(), what.node); }

std::string text_of(const std::vector<statement>& statements) {
    std::string text;
    for (const statement& s : statements) {
        text += text.empty() ? "" : " ";
        std::string targets;
        for (const auto& t : s.targets) targets += (targets.empty() ? "" : ",") + t.name + path_of(t.path);
        text += s.several ? "[" + targets + "]" : targets;
        text += (s.targets.empty() ? "" : "=") + text_of(*s.value) + (s.quiet ? ";" : ",");
    }
    return text;
}

TEST(EvalParser, BuildsTrees) {
    const struct {
        const char* source;
        const char* tree;
    } cases[] = {
        {"", ""},
        {" ; , \n % nothing", ""},
        {"x", "x,"},
        {"x;", "x;"},
        {"x, y; z\n'a'", "x, y; z, 'a',"},
        {"x = 1:5; x(2) = []", "x=<1:5>; x(2)=[],"},
        {"1:2:n", "<1:2:n>,"},
        {"1+2*3-4", "<<1+<2*3>>-4>,"},
        {"1:n-1", "<1:<n-1>>,"},
        {"-x'", "<-<x'>>,"},
        {"--3", "<-<-3>>,"},
        {"(1:3)'", "<<1:3>'>,"},
        {"3+2i", "<3+2i>,"},
        {"x(1,:)", "x(1,:),"},
        {"x(:)", "x(:),"},
        {"x(end-1:end)", "x(<<end-1>:end>),"},
        {"x(y(end),2)", "x(y(end),2),"},
        {"s(2).a{3}(1) = 5", "s(2).a{3}(1)=5,"},
        {"s.a.b", "s.a.b,"},
        {"f()", "f(),"},
        {"[1 2; 3,4]", "[1,2;3,4],"},
        {"[1 2\n3 4]", "[1,2;3,4],"},
        {"[1 -2]", "[1,<-2>],"},
        {"[1 - 2]", "[<1-2>],"},
        {"[1 -2 + 3]", "[1,<<-2>+3>],"},
        {"[a (1)]", "[a,1],"},
        {"[a(1 -2)]", "[a(<1-2>)],"},
        {"[a' b']", "[<a'>,<b'>],"},
        {"[a 'b']", "[a,'b'],"},
        {"{1, 'a'; {}}", "{1,'a';{}},"},
        {"[]", "[],"},
        {"[;]", "[],"},
        {"[1,2,]", "[1,2],"},
        {"[a, b(2)] = c{:}", "[a,b(2)]=c{:},"},
        {"[a b] = f(1);", "[a,b]=f(1);"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(text_of(parse(c.source)), c.tree) << c.source;
    }
}

TEST(EvalParser, RefusesAtThePlace) {
    const struct {
        const char* source;
        std::size_t place;
    } cases[] = {
        {"x = ", 4},  {"x = )", 4}, {"x(2", 3},        {"x = [1 2", 4},     {"x = {1", 4},
        {"1 2", 2},   {"5 = x", 0}, {"x+1 = 2", 1},    {"x{}", 1},          {"end", 0},
        {"x.5", 2},   {"x.(2)", 2}, {"(1", 2},         {"[1 2; 3] = 5", 0}, {"[] = 5", 0},
        {"x(1,)", 4}, {"x(,1)", 2}, {"[a, 5] = x", 4}, {"1:2:3:4", 5},      {"x(end) + end", 9},
    };
    for (const auto& c : cases) {
        try {
            parse(c.source);
            ADD_FAILURE() << c.source;
        } catch (const placed_failure& error) {
            EXPECT_EQ(error.place(), c.place) << c.source << ": " << error.what();
        }
    }
}

TEST(EvalParser, RefusesLinesThatAreTooDeep) {
    const auto repeated = [](const char* text, int times) {
        std::string all;
        for (int i = 0; i < times; ++i) all += text;
        return all;
    };
    EXPECT_NO_THROW(parse(repeated("(", 50) + "1" + repeated(")", 50)));
    EXPECT_NO_THROW(parse("1" + repeated("+1", 300)));
    EXPECT_THROW(parse(repeated("(", 100000)), placed_failure);
    EXPECT_THROW(parse(repeated("[", 100000)), placed_failure);
    EXPECT_THROW(parse(repeated("-", 100000) + "1"), placed_failure);
    EXPECT_THROW(parse("1" + repeated("+1", 100000)), placed_failure);
    EXPECT_THROW(parse("x" + repeated("'", 100000)), placed_failure);
    EXPECT_NO_THROW(parse("x" + repeated("(1)", 300)));
    EXPECT_THROW(parse("x" + repeated("(1)", 100000)), placed_failure);
    EXPECT_THROW(parse("x" + repeated(".a", 100000) + " = 1"), placed_failure);
    EXPECT_THROW(parse(repeated("x(", 100000)), placed_failure);
}

} // namespace
