/*
 * The functions that the notation has itself; docs/formats.md lists them.
 */
#ifndef ND_TOOLS_EVAL_FUNCTIONS_HPP
#define ND_TOOLS_EVAL_FUNCTIONS_HPP

#include "eval/values.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace nd_host::eval {

struct builtin {
    std::string_view name;
    std::size_t least; ///< arguments
    std::size_t most;
    array_ptr (*call)(std::vector<array_ptr>& arguments); ///< uses the arguments up
};

/// The function of that name, null when there is none.
const builtin* find_builtin(std::string_view name);

/// Calls it. Raises notation_error (arguments), and what the library raises.
array_ptr call(const builtin& function, std::vector<array_ptr> arguments);

} // namespace nd_host::eval

#endif
