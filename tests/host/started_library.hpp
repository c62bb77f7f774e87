// The library in the engine's mode, started once for all tests of the program that need it so.
#pragma once

#include <engine_session.hpp>

namespace test {

inline void start_library() {
    [[maybe_unused]] static const bool started = (nd_host::start_library(matrix::mode_in_engine), true);
}

} // namespace test
