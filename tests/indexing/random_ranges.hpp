// Operands for ranges: dense small ones and random ones of every size. Each program run sees the same.
#pragma once

#include "indexing/colon_oracle.hpp"

#include <bit>
#include <random>
#include <vector>

namespace test {

/// Every start:step:stop with operands from -extent to extent, times unit.
template <class Body>
void for_each_small_range(int extent, double unit, Body&& body) {
    for (int start = -extent; start <= extent; ++start)
        for (int step = -extent; step <= extent; ++step)
            for (int stop = -extent; stop <= extent; ++stop)
                body(triple{start * unit, step * unit, stop * unit});
}

class range_source {
public:
    std::uint64_t bits() { return generator_(); }
    bool coin() { return bits() % 2 == 0; }
    std::uint64_t up_to(std::uint64_t most) {
        return most == ~std::uint64_t{0} ? bits() : bits() % (most + 1);
    }

    /// A whole number of any length up to so many bits, of either sign.
    double whole(int most_bits) {
        const auto magnitude =
            static_cast<double>(bits() >> (64 - 1 - up_to(static_cast<unsigned>(most_bits) - 1)));
        return coin() ? magnitude : -magnitude;
    }

    /// A number of any magnitude from 2^lowest to 2^highest, or 0.
    double number(int lowest, int highest) {
        if (bits() % 16 == 0) return 0.0;
        const double digits = std::ldexp(static_cast<double>(bits() >> 11), -53) + 1; // in [1, 2)
        const auto span = static_cast<unsigned>(highest - lowest);
        const double magnitude = std::ldexp(digits, lowest + static_cast<int>(up_to(span)));
        return coin() ? magnitude : -magnitude;
    }

    /// A range of about so many elements with operands that have fractions, or whole ones: stop is near an element, or on it as
    /// closely as doubles can be, or anywhere.
    triple fractional(int lowest, int highest, std::uint64_t most_elements) {
        const double start = number(lowest, highest);
        const double step = number(lowest, highest);
        const auto steps = static_cast<double>(up_to(most_elements));
        const double on = start + steps * step;
        switch (bits() % 4) {
        case 0:
            return {start, step, on};
        case 1:
            return {start, step, std::nextafter(on, coin() ? 1e300 : -1e300)};
        case 2:
            return {start, step, on + 0.37 * step};
        default:
            return {start, step, on - 0.37 * step};
        }
    }

    /// Bits of a 64-bit operand: any, or near a limit, or small.
    template <class T>
    T wide() {
        constexpr T lowest = std::numeric_limits<T>::min();
        constexpr T highest = std::numeric_limits<T>::max();
        const auto little = static_cast<T>(bits() % 5);
        switch (bits() % 5) {
        case 0:
            return static_cast<T>(bits());
        case 1:
            return static_cast<T>(lowest + little);
        case 2:
            return static_cast<T>(highest - little);
        case 3:
            return static_cast<T>(bits() >> (bits() % 64));
        default:
            return static_cast<T>(static_cast<T>(0) - little);
        }
    }

private:
    std::mt19937_64 generator_{20240607};
};

} // namespace test
