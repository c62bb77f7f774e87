// What kernel headers (see instruction_set.hpp) have to know of each set: how wide its registers are, and vectors of the compiler's
// own. Types and constants only, which leave no code behind.
#pragma once

#include <cstddef>

namespace foundation::core::cpu {

// A register is so many bytes wide.
struct baseline_registers {
    static constexpr std::size_t bytes = 16;
};
struct avx2_registers {
    static constexpr std::size_t bytes = 32;
};
struct avx512_registers {
    static constexpr std::size_t bytes = 64;
};

template <class T, std::size_t Count>
struct vector_of {
    typedef T type __attribute__((vector_size(sizeof(T) * Count)));
};

// Count lanes of T, whatever the width of a register.
template <class T, std::size_t Count>
using vector = typename vector_of<T, Count>::type;

} // namespace foundation::core::cpu
