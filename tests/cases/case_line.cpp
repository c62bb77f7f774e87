#include "cases/case_line.hpp"

#include <sstream>
#include <stdexcept>

namespace test {

namespace {

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos
               ? std::string()
               : std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

// Size, words, class; the rest is an expression.
void take_expectation(const std::string& text, case_line& line) {
    std::istringstream words(text);
    words >> line.description;
    for (std::string word; words >> word;) {
        line.description += " " + word;
        if (word != "complex" && word != "sparse") {
            std::getline(words, line.elements);
            line.elements = trimmed(line.elements);
            return;
        }
    }
    throw std::runtime_error("size and class are missing");
}

} // namespace

std::optional<case_line> parse_case(std::string_view line) {
    const std::string text = trimmed(line);
    if (text.empty() || text.front() == '%') {
        return std::nullopt;
    }
    const std::size_t gives = text.rfind(" => ");
    const std::size_t raises = text.rfind(" !! ");
    case_line result;
    if (raises != std::string::npos) {
        result.source = trimmed(text.substr(0, raises));
        result.identifier = trimmed(text.substr(raises + 4));
    } else if (gives != std::string::npos) {
        result.source = trimmed(text.substr(0, gives));
        take_expectation(text.substr(gives + 4), result);
    } else {
        throw std::runtime_error("a case needs => or !!");
    }
    return result;
}

} // namespace test
