// What the runner of the case files finds wrong: lines that must not pass, and how they are told.
#include "cases/case_runner.hpp"
#include "host/started_library.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

std::string told(const char* text) {
    test::start_library();
    nd_host::engine_session session;
    return test::check(session, *test::parse_case(text), false);
}

TEST(CaseRunner, FindsWhatIsWrong) {
    const struct {
        const char* line;
        const char* told; // a part of what is told; empty: nothing is wrong
    } cases[] = {
        {"x = 1:3 => 1x3 double [1 2 3]", ""},
        {"x = 1:3 => 1x3 double 1:3 % as it is", ""},
        {"x = 1:3 => 3x1 double [1 2 3]", "1x3 double [1 2 3]"},
        {"x = 1:3 => 1x3 single [1 2 3]", "1x3 double"},
        {"x = 1:3 => 1x3 double [1 2 4]", "1x3 double"},
        {"x = 1:3 => 1x3 double [1 2]", "1x3 double"},
        {"x = 1:3 => 1x3 double", "doesn't say which elements"},
        {"x = 1:3; => 1x3 double [1 2 3]", ""},
        {"x = [NaN -0] => 1x2 double [NaN 0]", ""},
        {"x = [1+1i 2] => 1x2 complex double [1+1i 2]", ""},
        {"x = [1+1i 2] => 1x2 complex double [1-1i 2]", "complex"},
        {"x = [1+1i 2] => 1x2 double [1 2]", "complex"},
        {"x = sparse([1 0]) => 1x2 double [1 0]", "sparse"},
        {"x = sparse([1 0]) => 1x2 sparse double [1 0]", ""},
        {"x = sparse([1 0]) => 1x2 sparse double [0 1]", "sparse"},
        {"x = 'ab' => 1x2 char 'ab'", ""},
        {"x = 'ab' => 1x2 char 'aB'", "'ab'"},
        {"x = {1, []} => 1x2 cell {1, []}", ""},
        {"x = cell(1, 2) => 1x2 cell {[], []}", ""},
        {"x = {1, 2} => 1x2 cell {1, int8(2)}", "{2}: 1x1 double 2"},
        {"x = {1, {2}} => 1x2 cell {1, {3}}", "{1}: 1x1 double 2"},
        {"x = {1, 2} => 1x2 cell [1 2]", "cell"},
        {"s.a = 1 => 1x1 struct struct('a', 1)", ""},
        {"s.a = 1 => 1x1 struct struct('b', 1)", "struct"},
        {"s.a = 1 => 1x1 struct struct('a', 2)", "struct"},
        {"s.a = 1 => 1x1 struct struct('a', 1, 'b', 2)", "struct"},
        {"x = zeros(0, 3) => 0x3 double", ""},
        {"x(0) !! nd:eval:undefinedName", ""},
        {"x = 1; x(0) !! TARVEL:badsubscript", ""},
        {"x = 1; x(0) !! TARVEL:pmaxsize", "it raises TARVEL:badsubscript: "},
        {"x = 1; x(1) !! TARVEL:badsubscript", "it doesn't raise TARVEL:badsubscript"},
        {"x = 1; x(0) => 1x1 double 1", "it raises TARVEL:badsubscript: "},
    };
    for (const auto& c : cases) {
        const std::string wrong = told(c.line);
        EXPECT_EQ(wrong.empty(), std::string(c.told).empty()) << c.line << "\n" << wrong;
        EXPECT_NE(wrong.find(c.told), std::string::npos) << c.line << "\n" << wrong;
    }
}

TEST(CaseRunner, RefusesLinesThatAreNoCases) {
    EXPECT_FALSE(test::parse_case(""));
    EXPECT_FALSE(test::parse_case("  % a comment => 1x1 double 1"));
    EXPECT_THROW(test::parse_case("x = 1"), std::runtime_error);
    EXPECT_THROW(test::parse_case("x = 1 => "), std::runtime_error);
    EXPECT_THROW(test::parse_case("x = 1 => 1x1"), std::runtime_error);
    EXPECT_THROW(told("x = 1 => 1x1 double ["), std::runtime_error);
}

} // namespace
