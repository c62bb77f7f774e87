#include "csv_reader.hpp"

#include "csv_scanner.hpp"
#include "failure.hpp"
#include "utf8.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

namespace nd_host {

namespace {

bool is_missing(const csv_field& field) { return field.text.empty() || field.text == "NA"; }

bool is_text(const csv_field& field) {
    return field.quoted || (!is_missing(field) && !spells_number(field.text));
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

// Which columns hold text. Lines that are too short or too long are refused later.
std::vector<bool> find_text_columns(csv_scanner scanner, std::size_t columns) {
    std::vector<bool> has_value(columns);
    std::vector<bool> is_text_column(columns);
    std::vector<csv_field> fields;
    while (scanner.next_line(fields)) {
        for (std::size_t i = 0; i < std::min(fields.size(), columns); ++i) {
            if (is_missing(fields[i])) {
                continue;
            }
            const bool says_text = fields[i].quoted || !has_value[i];
            if (says_text && !is_text_column[i] && !spells_number(fields[i].text)) {
                is_text_column[i] = true;
            }
            has_value[i] = true;
        }
    }
    return is_text_column;
}

std::size_t count_utf8_bytes(std::string_view text) {
    std::size_t good = 0;
    while (const std::size_t length = character_length(text.substr(good))) {
        good += length;
    }
    return good;
}

// Fills a table whose names, columns and texts, one list for each column or none, are known.
class table_filler {
public:
    table_filler(const csv_scanner& scanner, csv_table& table, csv_content content)
        : scanner_(scanner), table_(table), content_(content), is_text_column_(table.columns) {}

    void expect_text_in(std::vector<bool> columns) {
        is_text_column_ = std::move(columns);
        table_.texts.resize(table_.columns);
    }

    void add_row(std::vector<csv_field>& fields) {
        if (fields.size() != table_.columns) {
            scanner_.fail(fields.size(), "the line has " + std::to_string(fields.size()) +
                                             " columns, the lines before it " +
                                             std::to_string(table_.columns));
        }
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (is_text_column_[i]) {
                table_.values.push_back(std::numeric_limits<double>::quiet_NaN());
                table_.texts[i].push_back(text_of(fields[i], i));
            } else {
                table_.values.push_back(value_of(fields[i], i));
            }
        }
        ++table_.rows;
    }

private:
    std::string text_of(csv_field& field, std::size_t column) const {
        if (is_missing(field) && !field.quoted) {
            return {};
        }
        const std::size_t good = count_utf8_bytes(field.text);
        if (good < field.text.size()) {
            scanner_.fail(column + 1, "byte " + hexadecimal(field.text[good]) + name_of(column) +
                                          " is not UTF-8; save the file in UTF-8");
        }
        return std::move(field.text);
    }

    double value_of(const csv_field& field, std::size_t column) const {
        if (is_missing(field)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (const auto value = parse_number(field.text)) {
            return *value;
        }
        scanner_.fail(column + 1, shown(field.text) + name_of(column) +
                                      " is not a number that a double can hold" +
                                      (content_ == csv_content::numbers_and_text && !spells_number(field.text)
                                           ? ", as the column's first value is; if it is text, quote it"
                                           : ""));
    }

    std::string name_of(std::size_t column) const {
        return table_.names.empty() ? "" : " (" + table_.names[column] + ")";
    }

    const csv_scanner& scanner_;
    csv_table& table_;
    csv_content content_;
    std::vector<bool> is_text_column_;
};

[[noreturn]] void fail_reading(const std::string& path, int code) {
    throw failure(exit_status::bad_input, path + ": can't be read: " + std::strerror(code));
}

struct close_file {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// What text says as a number. Out of range, the value stays 0.
struct number_text {
    explicit number_text(std::string_view text) {
        const bool plus = !text.empty() && text.front() == '+';
        if (plus) {
            text.remove_prefix(1);
        }
        // Of what from_chars reads, a second sign and NaN with letters of its own aren't numbers here.
        if (text.empty() || (plus && text.front() == '-') || text.back() == ')') {
            return;
        }
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        is_number = end == text.data() + text.size() && error != std::errc::invalid_argument;
        is_held = is_number && error == std::errc();
    }

    double value = 0;
    bool is_number = false;
    bool is_held = false; // by a double
};

} // namespace

bool spells_number(std::string_view text) { return number_text(text).is_number; }

std::optional<double> parse_number(std::string_view text) {
    const number_text number(text);
    return number.is_held ? std::optional(number.value) : std::nullopt;
}

csv_table parse_csv(std::string_view text, const std::string& source, csv_content content) {
    csv_scanner scanner(text, source);
    std::vector<csv_field> fields;
    csv_scanner behind_names = scanner;
    if (!scanner.next_line(fields)) {
        throw failure(exit_status::bad_input, source + ": the file is empty");
    }
    csv_table table;
    table.columns = fields.size();
    const bool has_names = holds_names(scanner, fields);
    if (has_names) {
        behind_names = scanner;
        for (csv_field& field : fields) {
            table.names.push_back(std::move(field.text));
        }
    }
    table_filler filler(scanner, table, content);
    if (content == csv_content::numbers_and_text) {
        filler.expect_text_in(find_text_columns(behind_names, table.columns));
    }
    if (!has_names) {
        filler.add_row(fields);
    }
    while (scanner.next_line(fields)) {
        filler.add_row(fields);
    }
    return table;
}

csv_table read_csv(const std::string& path, csv_content content) {
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
    return parse_csv(text, path, content);
}

} // namespace nd_host
