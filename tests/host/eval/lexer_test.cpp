// Tokens of the notation, and which lines have none.
#include <eval/lexer.hpp>
#include <eval/notation_error.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using nd_host::eval::token;
using nd_host::eval::token_kind;
using nd_host::eval::tokens_of;

// Each token as kind and text; a blank before it is a blank here.
std::string spelled(const std::string& source) {
    std::string text;
    for (const token& t : tokens_of(source)) {
        if (t.kind == token_kind::end) break;
        const char* const kinds[] = {"N", "I", "T", "W", "", "NL"};
        const std::string kind = kinds[static_cast<std::size_t>(t.kind)];
        text += (t.blank_before ? " " : "") + (kind.empty() ? t.text : kind + "<" + t.text + ">");
    }
    return text;
}

TEST(EvalLexer, TellsTokensApart) {
    const struct {
        const char* source;
        const char* tokens;
    } cases[] = {
        {"x = 1:5;", "W<x> = N<1>:N<5>;"},
        {"12 0.5 .5 1e-3 1E5 3.", "N<12> N<0.5> N<.5> N<1e-3> N<1E5> N<3.>"},
        {"3i 2.5j 1e3i", "I<3> I<2.5> I<1e3>"},
        {"s.name s(2).a", "W<s>.W<name> W<s>(N<2>).W<a>"},
        {"x.'", "W<x>.'"},
        {"3.'", "N<3>.'"},
        {"x' 'text'", "W<x>' T<text>"},
        {"x'' + [1]'", "W<x>'' + [N<1>]'"},
        {"'it''s' ''", "T<it's> T<>"},
        {"['a''b']", "[T<a'b>]"},
        {"c{1}' (x)'", "W<c>{N<1>}' (W<x>)'"},
        {"a % b 'c", "W<a>"},
        {"'50 % of it'", "T<50 % of it>"},
        {"a % b\nc", "W<a> NL<\n>W<c>"},
        {"a\r\nb", "W<a> NL<\n>W<b>"},
        {"_x1 end", "W<_x1> W<end>"},
        {"", ""},
    };
    for (const auto& c : cases) {
        std::string tokens = spelled(c.source);
        if (tokens.rfind(" ", 0) == 0) tokens.erase(0, 1);
        EXPECT_EQ(tokens, c.tokens) << c.source;
    }
}

TEST(EvalLexer, PlacesAreBytes) {
    const auto tokens = tokens_of("  ab = 'é' + 12");
    std::vector<std::size_t> places;
    for (const token& t : tokens) places.push_back(t.place);
    EXPECT_EQ(places, (std::vector<std::size_t>{2, 5, 7, 12, 14, 16}));
}

TEST(EvalLexer, RefusesWhatIsNoToken) {
    const struct {
        const char* source;
        std::size_t place;
    } cases[] = {{"x = 'abc", 4},    {"x = 'abc\n'", 4},    {"3x", 1},
                 {"3ij", 2},         {"a & b", 2},          {"x = \"a\"", 4},
                 {"x = 'a\xFF'", 6}, {"'\xED\xA0\x80'", 1}, {"'é\xC3'", 3}};
    for (const auto& c : cases) {
        try {
            tokens_of(c.source);
            ADD_FAILURE() << c.source;
        } catch (const nd_host::eval::placed_failure& error) {
            EXPECT_EQ(error.place(), c.place) << c.source;
            EXPECT_EQ(error.status(), nd_host::exit_status::bad_notation);
            EXPECT_EQ(std::string(error.what()).rfind("nd:eval:syntax: ", 0), 0U) << error.what();
        }
    }
}

TEST(EvalLexer, MarksThePlaceInItsLine) {
    using nd_host::eval::marked_line;
    EXPECT_EQ(marked_line("x = y(7)", 4), "  x = y(7)\n      ^");
    EXPECT_EQ(marked_line("a\nbc d\ne", 5), "  bc d\n     ^");
    EXPECT_EQ(marked_line("'é' + y", 6), "  'é' + y\n       ^");
    EXPECT_EQ(marked_line("x", 99), "  x\n   ^");
    EXPECT_EQ(marked_line("a\tb", 2), "  a\\tb\n     ^");
}

} // namespace
