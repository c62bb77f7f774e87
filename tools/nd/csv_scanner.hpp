/*
 * Splits CSV text into lines and fields, and knows where it stands. What a field means is csv_reader's business.
 */
#ifndef ND_TOOLS_CSV_SCANNER_HPP
#define ND_TOOLS_CSV_SCANNER_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace nd_host {

struct csv_field {
    std::string text; ///< without quotes; blanks around an unquoted field are gone
    bool quoted = false;
};

/// A byte for a message: 0x1B.
std::string hexadecimal(char byte);

/// A copy goes on from the same place.
class csv_scanner {
public:
    /// text must outlive the scanner.
    csv_scanner(std::string_view text, const std::string& source);

    /// Fills fields with the next line that isn't blank; false at the end of the text. Raises failure(bad_input).
    bool next_line(std::vector<csv_field>& fields);

    /// Raises failure(bad_input) for a column, counted from 1, of the line that next_line gave last.
    [[noreturn]] void fail(std::size_t column, const std::string& what) const;

private:
    bool skip_blank_line();
    bool skip_line_end();
    bool at_line_end() const;
    csv_field unquoted_field(std::size_t column);
    csv_field quoted_field(std::size_t column);
    void refuse_control_byte(std::size_t column) const;
    void skip_blanks();

    std::string_view text_;
    std::string source_;
    std::size_t position_ = 0;
    std::size_t line_ = 1;       // of position_, from 1
    std::size_t first_line_ = 1; // on which the fields given last began
};

} // namespace nd_host

#endif
