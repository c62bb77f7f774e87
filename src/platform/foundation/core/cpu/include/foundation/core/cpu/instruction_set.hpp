// Which instructions the inner loops use: the one place that says how a loop is built several times and how one is chosen.
//
//   A family of loops (class conversion, say) is a template over a type that stands for the set, in a header, <family>_kernels.hpp. It fills one
//   struct of function pointers. Three sources of a few lines, <family>_kernels_baseline.cpp, ..._avx2.cpp and ..._avx512.cpp,
//   instantiate it. cmake/compile.cmake gives a source its compiler options by the end of its name. A kernel_family holds the three
//   structs, and get() answers the one to use: a load, a test and a table look-up.
//
//   What such a source compiles may run on no processor but those it is for. So everything in a kernel header is a template over
//   that type or is always inlined, and it includes nothing that leaves functions behind: two copies of an inline
//   function of the standard library, one of them with AVX2 instructions in it, would be one to the linker.
//
// The choice is the best that the processor and the system offer. ND_KERNELS=baseline or ND_KERNELS=avx2 in the environment,
// read once, asks for less. All sets give the same results to the bit.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace foundation::core::cpu {

enum class instruction_set : std::uint8_t {
    baseline, // what every processor of the architecture has
    avx2,
    avx512, // F, BW, DQ and VL
};

inline constexpr std::size_t instruction_set_count = 3;
inline constexpr std::array<const char*, instruction_set_count> instruction_set_names{"baseline", "avx2",
                                                                                      "avx512"};

// Whether the processor and the system have it.
bool is_available(instruction_set set) noexcept;

// The set in use.
instruction_set instruction_set_in_use() noexcept;

// A family's structs, in the order of the sets.
template <class Kernels>
struct kernel_family {
    std::array<const Kernels*, instruction_set_count> by_set;

    const Kernels& get() const noexcept {
        return *by_set[static_cast<std::size_t>(instruction_set_in_use())];
    }
};

} // namespace foundation::core::cpu
