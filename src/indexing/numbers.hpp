// Doubles as whole numbers: the tests and conversions of ranges. None of them casts what doesn't fit.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace matrix::internal {

/// Up to here every whole number is a double, and sums of whole doubles are exact.
inline constexpr double largest_exact = 9007199254740992.0; // 2^53

/// A whole number of magnitude 2^53 at most. False for infinities and NaN.
inline bool is_exact_whole(double x) noexcept {
    return std::fabs(x) <= largest_exact && static_cast<double>(static_cast<std::int64_t>(x)) == x;
}

/// std::trunc and std::floor, but for the sign of zero: the oldest processors have no instruction for these, and a call is slower.
inline double whole_toward_zero(double x) noexcept {
    return std::fabs(x) < largest_exact ? static_cast<double>(static_cast<std::int64_t>(x)) : x;
}
inline double whole_below(double x) noexcept {
    const double whole = whole_toward_zero(x);
    return whole > x ? whole - 1 : whole;
}

/// A whole number of any magnitude, infinity included. False for NaN.
inline bool is_whole(double x) noexcept { return std::trunc(x) == x; }

/// What is asked of the three operands of a range that is a subscript.
inline bool are_finite(double start, double step, double stop) noexcept {
    return std::isfinite(start) && std::isfinite(step) && std::isfinite(stop);
}
inline bool are_whole(double start, double step, double stop) noexcept {
    return is_whole(start) && is_whole(step) && is_whole(stop);
}

/// x without its fraction; what lies outside T becomes the nearest limit and NaN 0.
template <class T>
T truncated(double x) noexcept {
    using limits = std::numeric_limits<T>;
    constexpr double lowest = static_cast<double>(limits::min());
    constexpr double bound = 2.0 * static_cast<double>(std::uint64_t{1} << (limits::digits - 1));
    if (x >= bound) return limits::max();
    if (x <= lowest) return limits::min();
    return x == x ? static_cast<T>(x) : T{0};
}

} // namespace matrix::internal
