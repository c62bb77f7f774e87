#include "table_printer.hpp"

#include "number_format.hpp"
#include "shown_range.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace nd_host {

namespace {

constexpr cut row_cut{40, 20, 5};
constexpr cut column_cut{12, 9, 2};
constexpr cut page_cut{6, 4, 1};

void collect_float(std::vector<double>& values, const number& value) {
    if (const auto* wide = std::get_if<double>(&value)) {
        values.push_back(*wide);
    }
    if (const auto* narrow = std::get_if<float>(&value)) {
        values.push_back(static_cast<double>(*narrow));
    }
}

using text_column = std::vector<std::string>; // the head, then one text for each row shown

text_column cells_of(const array_view& array, std::size_t column, const std::vector<std::size_t>& rows) {
    std::vector<double> values;
    for (const std::size_t row : rows) {
        if (row == gap) {
            continue;
        }
        collect_float(values, array.real(row, column));
        if (array.is_complex()) {
            collect_float(values, array.imaginary(row, column));
        }
    }
    const float_format format = format_for(std::move(values));
    text_column cells;
    for (const std::size_t row : rows) {
        if (row == gap) {
            cells.emplace_back();
            continue;
        }
        cells.push_back(element_text(array, row, column, format));
    }
    return cells;
}

// Characters, not bytes: those that continue a UTF-8 sequence take no place.
std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::string joined(const std::vector<text_column>& columns) {
    std::vector<std::size_t> widths;
    for (const text_column& column : columns) {
        std::size_t width = 0;
        for (const std::string& cell : column) {
            width = std::max(width, width_of(cell));
        }
        widths.push_back(width);
    }
    std::string out;
    for (std::size_t line = 0; line < columns.front().size(); ++line) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string& cell = columns[i][line];
            out.append(2 + widths[i] - width_of(cell), ' ');
            out += cell;
        }
        out.erase(out.find_last_not_of(' ') + 1);
        out += '\n';
    }
    return out;
}

text_column row_numbers(const std::vector<std::size_t>& rows) {
    text_column column{""};
    for (const std::size_t row : rows) {
        column.push_back(row == gap ? "..." : std::to_string(row + 1));
    }
    return column;
}

// One page: columns first to first + count - 1 of the array.
std::string page_text(const array_view& array, std::size_t first, std::size_t count,
                      const std::vector<std::string>& names, bool whole) {
    const auto rows = shown_indices(array.rows(), row_cut, whole);
    std::vector<text_column> columns{row_numbers(rows)};
    for (const std::size_t column : shown_indices(count, column_cut, whole)) {
        text_column cells;
        if (column == gap) {
            cells.resize(rows.size() + 1);
            cells.front() = "...";
        } else {
            cells = cells_of(array, first + column, rows);
            cells.insert(cells.begin(), names.empty() ? std::to_string(column + 1) : names[first + column]);
        }
        columns.push_back(std::move(cells));
    }
    return joined(columns);
}

// The subscripts of a page, as in "(:,:,2,1)".
std::string page_name(const std::vector<std::size_t>& dims, std::size_t page) {
    std::string text = "(:,:";
    for (std::size_t i = 2; i < dims.size(); ++i) {
        text += "," + std::to_string(page % dims[i] + 1);
        page /= dims[i];
    }
    return text + ")";
}

} // namespace

std::string table_text(const std::string& title, const array_view& array,
                       const std::vector<std::string>& names, bool whole) {
    std::string out = title + ": " + array.description() + "\n";
    if (array.rows() == 0 || array.columns() == 0) {
        return out;
    }
    const std::size_t page_columns = array.dims()[1];
    const std::size_t pages = array.columns() / page_columns;
    for (const std::size_t page : shown_indices(pages, page_cut, whole)) {
        if (page == gap) {
            out += "...\n";
            continue;
        }
        if (array.dims().size() > 2) {
            out += page_name(array.dims(), page) + "\n";
        }
        out += page_text(array, page * page_columns, page_columns, names, whole);
    }
    return out;
}

} // namespace nd_host
