/*
 * What a function forgot, told for the eye: each array's serial, size and class, and whether there is memory to free.
 */
#ifndef ND_TOOLS_FORGOTTEN_REPORT_HPP
#define ND_TOOLS_FORGOTTEN_REPORT_HPP

#include "addon_call.hpp"

#include <string>

namespace nd_host {

/// Lines that begin with "nd: " and end in a line end. Of many arrays the first and the last are told, unless asked for whole.
std::string forgotten_text(const forgotten& found, bool whole);

} // namespace nd_host

#endif
