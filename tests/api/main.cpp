// main of the programs that link libnd as it is shipped: --module-mode=N initialises the library, 1 being the engine's mode.
#include "api/mode.hpp"

#include <nd/module.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>

namespace {
int module_mode = matrix::mode_in_engine;
}

bool test::errors_are_exceptions() { return module_mode == matrix::mode_in_engine; }

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    constexpr char option[] = "--module-mode=";
    constexpr std::size_t option_length = sizeof option - 1;
    if (argc > 1 && std::strncmp(argv[1], option, option_length) == 0) {
        module_mode = std::atoi(argv[1] + option_length);
    }
    matrix::initModule(static_cast<matrix::Mode>(module_mode));
    return RUN_ALL_TESTS();
}
