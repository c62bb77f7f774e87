/*
 * What stands on the command line as INPUT becomes an array: a number a 1x1 double, anything else the matrix of a CSV file.
 */
#ifndef ND_TOOLS_INPUTS_HPP
#define ND_TOOLS_INPUTS_HPP

#include <nd/engine.hpp>

#include <string>
#include <vector>

namespace nd_host {

/// One array for each word, in their order. Raises failure(bad_input) and what creating an array raises.
std::vector<matrix::array_ptr> read_inputs(const std::vector<std::string>& words);

} // namespace nd_host

#endif
