#include "csv_reader.hpp"

#include "csv_scanner.hpp"
#include "failure.hpp"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

namespace nd_host {

namespace {

bool is_missing(const csv_field& field) { return field.text.empty() || field.text == "NA"; }

bool is_text(const csv_field& field) {
    return field.quoted || (!is_missing(field) && !parse_number(field.text).has_value());
}

// A field as a message shows it: quoted, cut, and without bytes that would upset a terminal.
std::string shown(const std::string& text) {
    constexpr std::size_t longest = 40;
    std::string out = "'";
    for (const char c : text.substr(0, longest)) {
        out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
    return out + (text.size() > longest ? "...'" : "'");
}

// Whether the first line holds names. Numbers beside texts may be a heading or a mistyped number: that is for the user to say.
bool holds_names(const csv_scanner& scanner, const std::vector<csv_field>& fields) {
    std::size_t text = 0;
    std::size_t number = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (is_text(fields[i])) {
            text = i + 1;
        } else if (!is_missing(fields[i])) {
            number = i + 1;
        }
    }
    if (text != 0 && number != 0) {
        scanner.fail(text, shown(fields[text - 1].text) + " is no number, but column " +
                               std::to_string(number) +
                               " of this line is one; if these are column names, quote them");
    }
    return text != 0;
}

double field_value(const csv_scanner& scanner, const csv_table& table, const csv_field& field,
                   std::size_t column) {
    if (is_missing(field)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (const auto value = parse_number(field.text)) {
        return *value;
    }
    const std::string name = table.names.empty() ? "" : " (" + table.names[column] + ")";
    scanner.fail(column + 1, shown(field.text) + name + " is not a number that a double can hold");
}

void add_row(const csv_scanner& scanner, csv_table& table, const std::vector<csv_field>& fields) {
    if (fields.size() != table.columns) {
        scanner.fail(fields.size(), "the line has " + std::to_string(fields.size()) +
                                        " columns, the lines before it " + std::to_string(table.columns));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        table.values.push_back(field_value(scanner, table, fields[i], i));
    }
    ++table.rows;
}

[[noreturn]] void fail_reading(const std::string& path, int code) {
    throw failure(exit_status::bad_input, path + ": can't be read: " + std::strerror(code));
}

struct close_file {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

std::optional<double> parse_number(std::string_view text) {
    const bool plus = !text.empty() && text.front() == '+';
    if (plus) {
        text.remove_prefix(1);
    }
    if (text.empty() || (plus && text.front() == '-')) {
        return std::nullopt;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

csv_table parse_csv(std::string_view text, const std::string& source) {
    csv_scanner scanner(text, source);
    std::vector<csv_field> fields;
    if (!scanner.next_line(fields)) {
        throw failure(exit_status::bad_input, source + ": the file is empty");
    }
    csv_table table;
    table.columns = fields.size();
    if (holds_names(scanner, fields)) {
        for (csv_field& field : fields) {
            table.names.push_back(std::move(field.text));
        }
    } else {
        add_row(scanner, table, fields);
    }
    while (scanner.next_line(fields)) {
        add_row(scanner, table, fields);
    }
    return table;
}

csv_table read_csv(const std::string& path) {
    const std::unique_ptr<std::FILE, close_file> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        fail_reading(path, errno);
    }
    std::string text;
    std::array<char, 65536> block{};
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get())) {
        text.append(block.data(), got);
    }
    if (std::ferror(file.get()) != 0) {
        fail_reading(path, errno);
    }
    return parse_csv(text, path);
}

} // namespace nd_host
