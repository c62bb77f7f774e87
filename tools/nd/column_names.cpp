#include "column_names.hpp"

#include <nd/names.hpp>

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

bool continues_character(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

std::string valid_name(const std::string& column_name, std::size_t column) {
    if (column_name.empty()) {
        return "x" + std::to_string(column + 1);
    }
    std::string name = nd_array_api::ndIsValidFirstCharInRecName(column_name.front()) ? "" : "x";
    for (const char c : column_name) {
        if (nd_array_api::ndIsValidSubsequentCharInRecName(c)) {
            name += c;
        } else if (!continues_character(c)) {
            name += '_';
        }
    }
    nd_array_api::ndTruncateRecName(name);
    return name;
}

std::string with_number(const std::string& name, std::size_t number) {
    const std::string suffix = "_" + std::to_string(number);
    return name.substr(0, matrix::longest_rec_name - suffix.size()) + suffix;
}

} // namespace

std::vector<std::string> field_names(const std::vector<std::string>& column_names) {
    std::vector<std::string> names;
    for (std::size_t column = 0; column < column_names.size(); ++column) {
        names.push_back(valid_name(column_names[column], column));
    }
    std::unordered_set<std::string> taken(names.begin(), names.end());
    std::unordered_map<std::string, std::size_t> numbers; // the last one given; 1 stands for the name itself
    for (std::string& name : names) {
        std::size_t& number = numbers[name];
        if (++number == 1) {
            continue;
        }
        std::string numbered = with_number(name, number);
        while (!taken.insert(numbered).second) {
            numbered = with_number(name, ++number);
        }
        name = std::move(numbered);
    }
    return names;
}

} // namespace nd_host
