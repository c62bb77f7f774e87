// What a fuzz target is made of: one function that takes any bytes, and ends the process where something is wrong with what the
// library made of them. replay.cpp calls it with the files of a corpus, libFuzzer with whatever it finds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process with a line that names the property, unless it holds.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "doesn't hold: %s\n", property);
    std::abort();
}

} // namespace fuzz
