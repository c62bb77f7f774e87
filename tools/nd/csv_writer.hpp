/*
 * CSV as the host writes it: what csv_reader reads back bit for bit.
 *
 * Doubles have 17 significant digits, singles 9, integers all of theirs; NaN and Inf are written so. A complex column becomes
 * two, the real and the imaginary part. Lines end in LF. An array with no elements gives no lines, but its names if any.
 */
#ifndef ND_TOOLS_CSV_WRITER_HPP
#define ND_TOOLS_CSV_WRITER_HPP

#include "array_view.hpp"

#include <string>
#include <vector>

namespace nd_host {

/// The array as CSV text. names is empty or has one for each column; those that need it are quoted. Needs has_numbers().
std::string csv_text(const array_view& array, const std::vector<std::string>& names);

/// Writes text to the file at path, or to standard output when path is "-". Raises failure(cannot_write).
void write_text(const std::string& path, const std::string& text);

} // namespace nd_host

#endif
