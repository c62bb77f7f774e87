// Scalars of each class that conversions are tried on: all there are up to 16 bits, otherwise dense where rules change.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace test {

template <class T>
using bits_of = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;

template <class T>
void add_with_neighbours(std::vector<T>& list, T x) {
    constexpr T infinity = std::numeric_limits<T>::infinity();
    for (const T y : {x, std::nextafter(x, infinity), std::nextafter(x, -infinity)}) {
        list.push_back(y);
        list.push_back(-y);
    }
}

/// Every exponent with mantissas of all lengths from both ends, and with some in between: zeros, subnormal numbers, infinities and NaN
/// of many payloads are among them.
template <class T>
void add_every_exponent(std::vector<T>& list) {
    constexpr int fraction_bits = std::numeric_limits<T>::digits - 1;
    constexpr auto fractions = bits_of<T>{1} << fraction_bits;
    constexpr auto exponents = bits_of<T>{1} << (sizeof(T) * 8 - 1 - fraction_bits);
    std::vector<bits_of<T>> mantissas{0};
    for (int bit = 0; bit < fraction_bits; bit += bit < 8 || bit > fraction_bits - 8 ? 1 : 4) {
        mantissas.push_back(bits_of<T>{1} << bit);
        mantissas.push_back(fractions - (bits_of<T>{1} << bit));
    }
    for (bits_of<T> odd = 1; odd < 16; odd += 2) mantissas.push_back(fractions / 16 * odd + odd);
    for (bits_of<T> exponent = 0; exponent < exponents; ++exponent) {
        for (const bits_of<T> mantissa : mantissas) {
            const T x = std::bit_cast<T>(exponent << fraction_bits | mantissa);
            list.push_back(x);
            list.push_back(-x);
        }
    }
}

template <class T>
std::vector<T> floating_point_scalars() {
    std::vector<T> list;
    add_every_exponent(list);
    for (int n = 0; n < 1200; ++n)
        add_with_neighbours(list, static_cast<T>(n) / 2); // halves, wholes, all of 8 bits
    for (int power = 0; power <= 66; ++power) {
        for (int sixteenth = -40; sixteenth <= 40; ++sixteenth)
            add_with_neighbours(list, std::ldexp(T(1), power) + static_cast<T>(sixteenth) / 4);
    }
    return list;
}

template <class T>
std::vector<T> all_whole_numbers() {
    std::vector<T> list;
    for (std::int32_t x = std::numeric_limits<T>::min(); x <= std::numeric_limits<T>::max(); ++x)
        list.push_back(static_cast<T>(x));
    return list;
}

/// Around every power of two, of either sign where there are two, and in between.
template <class T>
std::vector<T> dense_whole_numbers() {
    std::vector<T> list;
    using word = std::make_unsigned_t<T>;
    for (std::size_t bit = 0; bit < sizeof(T) * 8; ++bit) {
        for (word offset = 0; offset < 70; ++offset) {
            const word power = word{1} << bit;
            for (const word x :
                 {word(power + offset), word(power - offset), word(power + (power >> 1) + offset)}) {
                list.push_back(static_cast<T>(x));
                list.push_back(static_cast<T>(word{0} - x));
            }
            // Where 64-bit numbers lie halfway between two doubles or two singles.
            for (const std::size_t digits : {24U, 25U, 53U, 54U}) {
                if (bit < digits) continue;
                list.push_back(static_cast<T>(power + (word{1} << (bit - digits)) + offset - 35));
            }
        }
    }
    word random = 0x9E3779B9;
    for (int i = 0; i < 5000; ++i)
        list.push_back(static_cast<T>(random = random * 6364136223846793005ULL + 1442695040888963407ULL));
    return list;
}

template <class T>
std::vector<T> scalars_to_convert() {
    if constexpr (std::is_floating_point_v<T>) {
        return floating_point_scalars<T>();
    } else if constexpr (sizeof(T) <= 2) {
        return all_whole_numbers<T>();
    } else {
        return dense_whole_numbers<T>();
    }
}

} // namespace test
