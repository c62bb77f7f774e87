/*
 * CSV as the host reads it: a table of doubles, with an optional first line of column names, and with columns of text where
 * these are asked for.
 *
 *   separator   comma; blanks around an unquoted field don't count
 *   lines       end in LF, CRLF or CR, the last one in anything or nothing; blank lines are skipped; a UTF-8 mark is skipped
 *   fields      a decimal number, inf or nan in any case, an optional sign; empty or NA is a missing value, read as NaN
 *   quotes      "..." with "" for a quote inside; a quoted field may hold commas and line ends
 *   text        a column holds text when its first value isn't a number, or a quoted value in it isn't. All its fields are texts
 *               then, in UTF-8; an empty one and NA, unless quoted, are the empty text
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

/// What columns may hold.
enum class csv_content { numbers, numbers_and_text };

/// What a CSV text holds. names is empty or has one for each column. values has rows * columns numbers, row by row, NaN in columns
/// of text. texts is empty or has a list for each column: rows texts, or none for a column of numbers.
struct csv_table {
    std::vector<std::string> names;
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> values;
    std::vector<std::vector<std::string>> texts;

    bool is_text(std::size_t column) const noexcept { return !texts.empty() && !texts[column].empty(); }
};

/// Reads text; source names it in messages. Raises failure(bad_input).
csv_table parse_csv(std::string_view text, const std::string& source,
                    csv_content content = csv_content::numbers);

/// Reads the file at path. Raises failure(bad_input), also when the file can't be read.
csv_table read_csv(const std::string& path, csv_content content = csv_content::numbers);

/// Whether text is a number from its first to its last character, be it one that no double can hold.
bool spells_number(std::string_view text);

/// The number that text spells from its first to its last character; nothing when it doesn't, or when no double can hold it.
std::optional<double> parse_number(std::string_view text);

} // namespace nd_host

#endif
