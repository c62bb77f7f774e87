// Runs a case and says what is wrong with it.
//
// With share every value of a variable also stands in another array, which has to keep it. A statement that raises must leave all variables
// as they were. Variables have local scope, and nothing is left on the lists of the engine.
#pragma once

#include "cases/case_line.hpp"

#include <engine_session.hpp>

#include <string>

namespace test {

// Empty when nothing is wrong. Raises std::exception for a case whose expectation can't be read.
std::string check(nd_host::engine_session& session, const case_line& line, bool share);

} // namespace test
