#include "csv_scanner.hpp"

#include "failure.hpp"

#include <array>
#include <cstdio>

namespace nd_host {

namespace {

constexpr std::string_view utf8_mark = "\xEF\xBB\xBF";

bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_line_end(char c) { return c == '\n' || c == '\r'; }

} // namespace

std::string hexadecimal(char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text.data();
}

csv_scanner::csv_scanner(std::string_view text, const std::string& source) : text_(text), source_(source) {
    if (text_.substr(0, utf8_mark.size()) == utf8_mark) {
        position_ = utf8_mark.size();
    }
}

bool csv_scanner::next_line(std::vector<csv_field>& fields) {
    fields.clear();
    while (skip_blank_line()) {
    }
    if (position_ == text_.size()) {
        return false;
    }
    first_line_ = line_;
    for (;;) {
        const std::size_t column = fields.size() + 1;
        skip_blanks();
        const bool quoted = position_ < text_.size() && text_[position_] == '"';
        fields.push_back(quoted ? quoted_field(column) : unquoted_field(column));
        if (at_line_end()) {
            break;
        }
        ++position_; // the comma, the only other thing at which a field ends
    }
    skip_line_end();
    return true;
}

void csv_scanner::fail(std::size_t column, const std::string& what) const {
    throw failure(exit_status::bad_input, source_ + ": line " + std::to_string(first_line_) + ", column " +
                                              std::to_string(column) + ": " + what);
}

// Moves past one line of nothing but blanks; stays where it is, and says false, when there is anything else or the text ends.
bool csv_scanner::skip_blank_line() {
    const std::size_t start = position_;
    skip_blanks();
    if (skip_line_end()) {
        return true;
    }
    if (position_ < text_.size()) {
        position_ = start;
    }
    return false;
}

// Moves past LF, CRLF or CR.
bool csv_scanner::skip_line_end() {
    if (position_ == text_.size() || !is_line_end(text_[position_])) {
        return false;
    }
    if (text_.substr(position_, 2) == "\r\n") {
        ++position_;
    }
    ++position_;
    ++line_;
    return true;
}

bool csv_scanner::at_line_end() const { return position_ == text_.size() || is_line_end(text_[position_]); }

csv_field csv_scanner::unquoted_field(std::size_t column) {
    const std::size_t start = position_;
    while (!at_line_end() && text_[position_] != ',') {
        refuse_control_byte(column);
        ++position_;
    }
    std::size_t end = position_;
    while (end > start && is_blank(text_[end - 1])) {
        --end;
    }
    return {std::string(text_.substr(start, end - start)), false};
}

csv_field csv_scanner::quoted_field(std::size_t column) {
    csv_field field{{}, true};
    ++position_;
    for (;;) {
        if (position_ == text_.size()) {
            fail(column, "the quote that opens the field is never closed");
        }
        if (text_[position_] == '"') {
            ++position_;
            if (position_ == text_.size() || text_[position_] != '"') {
                break;
            }
        }
        if (is_line_end(text_[position_])) {
            skip_line_end();
            field.text += '\n';
            continue;
        }
        refuse_control_byte(column);
        field.text += text_[position_++];
    }
    skip_blanks();
    if (!at_line_end() && text_[position_] != ',') {
        fail(column, "something follows the closing quote");
    }
    return field;
}

// Bytes that no text has: a compressed, binary or UTF-16 file was given by mistake.
void csv_scanner::refuse_control_byte(std::size_t column) const {
    const auto byte = static_cast<unsigned char>(text_[position_]);
    if ((byte >= 0x20 && byte != 0x7F) || byte == '\t') {
        return;
    }
    fail(column,
         "byte " + hexadecimal(text_[position_]) + " doesn't belong into a text file; is this CSV in UTF-8?");
}

void csv_scanner::skip_blanks() {
    while (position_ < text_.size() && is_blank(text_[position_])) {
        ++position_;
    }
}

} // namespace nd_host
