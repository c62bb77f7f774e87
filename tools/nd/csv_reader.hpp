/*
 * CSV as the host reads it: a matrix of doubles, with an optional first line of column names.
 *
 *   separator   comma; blanks around an unquoted field don't count
 *   lines       end in LF, CRLF or CR, the last one in anything or nothing; blank lines are skipped; a UTF-8 mark is skipped
 *   fields      a decimal number, inf or nan in any case, an optional sign; empty or NA is a missing value, read as NaN
 *   quotes      "..." with "" for a quote inside; a quoted field may hold commas and line ends
 *   names       the first line holds column names when all its fields are texts or quoted; a mix with numbers is an error
 *
 * Numbers are read exactly: what has 17 significant digits comes back bit for bit. One that no double can hold is an error, as
 * is anything else that isn't as told; the message names file, line and column.
 */
#ifndef ND_TOOLS_CSV_READER_HPP
#define ND_TOOLS_CSV_READER_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nd_host {

/// What a CSV text holds. values has rows * columns numbers, row by row; names is empty or has one for each column.
struct csv_table {
    std::vector<std::string> names;
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> values;
};

/// Reads text; source names it in messages. Raises failure(bad_input).
csv_table parse_csv(std::string_view text, const std::string& source);

/// Reads the file at path. Raises failure(bad_input), also when the file can't be read.
csv_table read_csv(const std::string& path);

/// The number that text spells from its first to its last character; nothing when it doesn't, or when no double can hold it.
std::optional<double> parse_number(std::string_view text);

} // namespace nd_host

#endif
