// Reading descriptions of arrays.
#include "support/array_spec.hpp"

#include "matrix/class_table.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace test {
namespace {

[[noreturn]] void refuse(std::string_view text, const std::string& why) {
    throw std::invalid_argument("array description \"" + std::string(text) + "\": " + why);
}

// The next word of rest, which loses it; empty at the end.
std::string_view take_word(std::string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(word.size());
    return word;
}

std::string quoted(std::string_view word) { return "\"" + std::string(word) + "\""; }

ndClassID class_named(std::string_view text, std::string_view word) {
    for (const auto& row : matrix::internal::class_rows) {
        if (!word.empty() && word == row.name) return row.id;
    }
    refuse(text, word.empty() ? "a class is missing" : quoted(word) + " isn't a class");
}

std::size_t parse_dim(std::string_view text, std::string_view word) {
    std::size_t dim = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), dim);
    if (error != std::errc{} || end != word.data() + word.size()) {
        refuse(text, quoted(word) + " isn't a dimension");
    }
    return dim;
}

std::vector<std::size_t> parse_dims(std::string_view text, std::string_view word) {
    std::vector<std::size_t> dims;
    for (std::size_t from = 0; from <= word.size();) {
        const std::size_t to = std::min(word.find('x', from), word.size());
        dims.push_back(parse_dim(text, word.substr(from, to - from)));
        from = to + 1;
    }
    if (dims.size() < 2) refuse(text, quoted(word) + " has a single dimension; write both");
    return dims;
}

} // namespace

std::size_t array_spec::element_count() const {
    std::size_t count = 1;
    for (const std::size_t dim : dims) count *= dim;
    return count;
}

array_spec parse_array_spec(std::string_view text) {
    array_spec spec;
    std::string_view rest = text;
    std::string_view word = take_word(rest);
    if (word == "complex") {
        spec.complexity = ndCOMPLEX;
        word = take_word(rest);
    }
    spec.class_id = class_named(text, word);
    const std::string_view dims = take_word(rest);
    spec.dims = dims.empty() ? std::vector<std::size_t>{1, 1} : parse_dims(text, dims);
    if (const std::string_view extra = take_word(rest); !extra.empty()) {
        refuse(text, quoted(extra) + " is one word too many");
    }
    const bool has_elements = matrix::internal::element_size(matrix::internal::code_of(
                                  spec.class_id, spec.complexity == ndCOMPLEX)) != 0;
    if (spec.complexity == ndCOMPLEX && !has_elements) refuse(text, "the class has no complex elements");
    return spec;
}

std::string dims_text(const std::vector<std::size_t>& dims) {
    std::string text;
    for (const std::size_t dim : dims) text += (text.empty() ? "" : "x") + std::to_string(dim);
    return text;
}

} // namespace test
