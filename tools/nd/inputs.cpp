#include "inputs.hpp"

#include "column_names.hpp"
#include "csv_reader.hpp"
#include "failure.hpp"

#include <array>
#include <new>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

// Columns first to first + count - 1. A file has its rows one after another, an array its columns.
matrix::array_ptr columns_of(const csv_table& table, std::size_t first, std::size_t count) {
    matrix::array_ptr array = matrix::create(std::array{table.rows, count}, ndDOUBLE_CLASS, ndREAL);
    auto* element = static_cast<double*>(array->pdata);
    for (std::size_t column = first; column < first + count; ++column) {
        for (std::size_t row = 0; row < table.rows; ++row) {
            *element++ = table.values[row * table.columns + column];
        }
    }
    return array;
}

matrix::array_ptr char_row(const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    matrix::array_ptr row(nd_array_api::ndCreateStringFromNChars_UTF8(bytes, text.size()));
    if (row == nullptr) {
        throw std::bad_alloc(); // how creators fail outside the engine
    }
    return row;
}

matrix::array_ptr cell_of(const std::vector<std::string>& texts) {
    matrix::array_ptr cell = matrix::create_cell(std::array<std::size_t, 2>{texts.size(), 1});
    for (std::size_t row = 0; row < texts.size(); ++row) {
        matrix::array_ptr text = char_row(texts[row]);
        nd_array_api::ndSetCell(cell.get(), row, text.get());
        static_cast<void>(text.release()); // the cell's from here on
    }
    return cell;
}

matrix::array_ptr struct_of(const csv_table& table, const std::string& source) {
    if (table.names.empty()) {
        throw failure(exit_status::bad_input,
                      source + ": the first line has no names of columns to make a struct of");
    }
    const std::vector<std::string> names = field_names(table.names);
    std::vector<const char*> fields;
    fields.reserve(names.size());
    for (const std::string& name : names) {
        fields.push_back(name.c_str());
    }
    matrix::array_ptr result = matrix::detail::do_create_struct(std::array<std::size_t, 2>{1, 1}, fields);
    for (std::size_t column = 0; column < table.columns; ++column) {
        matrix::array_ptr values =
            table.is_text(column) ? cell_of(table.texts[column]) : columns_of(table, column, 1);
        nd_array_api::ndSetFieldByNumber(result.get(), 0, static_cast<int>(column), values.get());
        static_cast<void>(values.release()); // the struct's from here on
    }
    return result;
}

matrix::array_ptr read_input(const std::string& word, csv_form form) {
    if (const auto value = parse_number(word)) {
        return columns_of({{}, 1, 1, {*value}, {}}, 0, 1);
    }
    if (spells_number(word)) {
        throw failure(exit_status::bad_input, word + ": no double can hold this number");
    }
    if (form == csv_form::struct_of_columns) {
        return struct_of(read_csv(word, csv_content::numbers_and_text), word);
    }
    const csv_table table = read_csv(word);
    return columns_of(table, 0, table.columns);
}

} // namespace

std::vector<matrix::array_ptr> read_inputs(const std::vector<std::string>& words, csv_form form) {
    std::vector<matrix::array_ptr> arrays;
    arrays.reserve(words.size());
    for (const std::string& word : words) {
        arrays.push_back(read_input(word, form));
    }
    return arrays;
}

} // namespace nd_host
