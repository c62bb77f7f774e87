/*
 * What stands on the command line as INPUT becomes an array: a number a 1x1 double, anything else what a CSV file holds.
 */
#ifndef ND_TOOLS_INPUTS_HPP
#define ND_TOOLS_INPUTS_HPP

#include <nd/engine.hpp>

#include <string>
#include <vector>

namespace nd_host {

/// What a CSV file becomes.
enum class csv_form {
    /// Rows by columns, double; names of columns are left out.
    matrix,
    /// A 1x1 struct with a field for each column, rows by 1: double, or a cell of char rows where the column holds text
    /// (csv_reader.hpp). column_names.hpp has the fields' names.
    struct_of_columns
};

/// One array for each word, in their order. Raises failure(bad_input), also for a file without names of which a struct is
/// wanted, and what creating an array raises.
std::vector<matrix::array_ptr> read_inputs(const std::vector<std::string>& words, csv_form form);

} // namespace nd_host

#endif
