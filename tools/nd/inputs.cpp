#include "inputs.hpp"

#include "csv_reader.hpp"

#include <array>

namespace nd_host {

namespace {

// A file has its rows one after another, an array its columns.
matrix::array_ptr array_of(const csv_table& table) {
    matrix::array_ptr array = matrix::create(std::array{table.rows, table.columns}, ndDOUBLE_CLASS, ndREAL);
    auto* element = static_cast<double*>(array->pdata);
    for (std::size_t column = 0; column < table.columns; ++column) {
        for (std::size_t row = 0; row < table.rows; ++row) {
            *element++ = table.values[row * table.columns + column];
        }
    }
    return array;
}

matrix::array_ptr read_input(const std::string& word) {
    if (const auto value = parse_number(word)) {
        return array_of({{}, 1, 1, {*value}});
    }
    return array_of(read_csv(word));
}

} // namespace

std::vector<matrix::array_ptr> read_inputs(const std::vector<std::string>& words) {
    std::vector<matrix::array_ptr> arrays;
    arrays.reserve(words.size());
    for (const std::string& word : words) {
        arrays.push_back(read_input(word));
    }
    return arrays;
}

} // namespace nd_host
