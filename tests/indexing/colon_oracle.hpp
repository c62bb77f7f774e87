// Ranges in exact arithmetic: operands are taken as the rational numbers that they are, nothing is rounded.
#pragma once

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <type_traits>

namespace test {

using rational = boost::multiprecision::cpp_rational;
using integer = boost::multiprecision::cpp_int;

inline integer floor_of(const rational& x) {
    const integer quotient = numerator(x) / denominator(x); // towards zero
    return x < 0 && quotient * denominator(x) != numerator(x) ? integer(quotient - 1) : quotient;
}

/// A double, which is finite, by its bits: a number of 53 bits and a power of 2.
inline rational exactly(double x) {
    int exponent = 0;
    const double fraction = std::frexp(x, &exponent);
    const auto digits = static_cast<std::int64_t>(std::ldexp(fraction, 53));
    const int power = exponent - 53;
    if (power >= 0) return rational(integer(digits) << static_cast<unsigned>(power));
    return rational(integer(digits), integer(1) << static_cast<unsigned>(-power));
}
inline rational exactly(std::int64_t x) { return rational(x); }
inline rational exactly(std::uint64_t x) { return rational(x); }

/// start:step:stop as numbers. Elements may lie up to slack beyond stop.
struct exact_range {
    rational start;
    rational step;
    rational stop;

    template <class T, class Step>
    static exact_range of(T from, Step by, T to) {
        return {exactly(from), exactly(by), exactly(to)};
    }

    integer count(const rational& slack = 0) const {
        if (step == 0 || (step > 0 ? start > stop : start < stop)) return 0;
        return floor_of((abs(rational(stop - start)) + slack) / abs(step)) + 1;
    }
    rational element(const integer& i) const { return start + rational(i) * step; }
    rational larger_end() const { return std::max<rational>(abs(start), abs(stop)); }
};

inline double distance_to_next(bool single) { return single ? 0x1p-23 : 0x1p-52; }

struct triple {
    double start;
    double step;
    double stop;
};
inline std::ostream& operator<<(std::ostream& out, const triple& t) {
    return out << std::hexfloat << t.start << ':' << t.step << ':' << t.stop << std::defaultfloat;
}

} // namespace test
