// Whole numbers in the lanes of a register, for loops over subscripts.
//
// Adding 2^52 to a whole number below leaves the number in the low bits of the sum, and such sums are ordered as numbers and as
// bits. Taking 2^52 away again changes nothing but fractions and what is too high.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include <foundation/core/cpu/registers.hpp>

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

template <class Registers>
struct whole_lanes {
    static constexpr std::size_t lanes = Registers::bytes / sizeof(double);
    using doubles = foundation::core::cpu::vector<double, lanes>;
    using words = foundation::core::cpu::vector<std::uint64_t, lanes>;

    static constexpr double whole_from = 4503599627370496.0;           // 2^52
    static constexpr std::uint64_t bits_of_whole = 0x4330000000000000; // of the double above

    /// Ones in the lanes of values that aren't whole or not from 1 to most, which is below 2^52.
    [[gnu::always_inline]] static words bad(const doubles& x, double most) noexcept {
        return ~(words)((x + whole_from - whole_from == x) & (x >= 1.0) & (x <= most));
    }
    /// The same for integers, and any limit; what has a sign is too high without it.
    [[gnu::always_inline]] static words bad(const words& x, std::uint64_t limit) noexcept {
        return (words)(x - 1 >= limit);
    }
    /// The same for one value.
    [[gnu::always_inline]] static bool is_bad(double x, double most) noexcept {
        return !(x + whole_from - whole_from == x && x >= 1.0 && x <= most);
    }
    [[gnu::always_inline]] static bool is_bad(std::uint64_t x, std::uint64_t limit) noexcept {
        return x - 1 >= limit;
    }
    /// Good values less 1.
    [[gnu::always_inline]] static words positions(const doubles& x) noexcept {
        return (words)(x + whole_from) - (bits_of_whole + 1);
    }
    [[gnu::always_inline]] static words positions(const words& x) noexcept { return x - 1; }

    [[gnu::always_inline]] static std::uint64_t bits_of(double x) noexcept {
        std::uint64_t bits;
        __builtin_memcpy(&bits, &x, sizeof bits);
        return bits;
    }
    [[gnu::always_inline]] static std::uint64_t any(const words& x) noexcept {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < lanes; ++i) bits |= x[i];
        return bits;
    }
    [[gnu::always_inline]] static std::uint64_t highest_of(const words& x) noexcept {
        std::uint64_t most = 0;
        for (std::size_t i = 0; i < lanes; ++i) most = x[i] > most ? x[i] : most;
        return most;
    }
};

} // namespace matrix::internal
