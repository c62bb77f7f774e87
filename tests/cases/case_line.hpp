// A line of a case file, taken apart: the source that is run, and what it must give.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace test {

struct case_line {
    std::string source;
    std::string identifier; // of the error that it must raise; empty for none
    std::string
        description;      // size and class as the host tells them: "1x4 double", "2x2 complex sparse double"
    std::string elements; // an expression; empty for an array without elements
};

// The line; nothing for a blank one and one with a comment only. Raises std::runtime_error for a line that is no case.
std::optional<case_line> parse_case(std::string_view line);

} // namespace test
