// How many elements a range has.
#pragma once

#include <nd/types.h>

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// The range of a 64-bit integer class by its bits: element i is start + i * step, modulo 2^64.
struct whole_range {
    double count; ///< exact up to 2^53
    std::uint64_t start;
    std::uint64_t step;
};

/// T is long long or unsigned long long. A double step counts without its fraction; one that is too large for the class
/// reaches one further element at most, NaN none at all.
template <class T>
whole_range whole_range_of(T start, T step, T stop) noexcept;
template <class T>
whole_range whole_range_of(T start, double step, T stop) noexcept;

/// A count as a size: at most 2^48 - 1, and 0 for a negative one. NaN isn't asked for.
std::size_t saturated_count(double count) noexcept;

/// Half away from zero. Infinities and NaN stay as they are.
double rounded(double x) noexcept;

/// The slack at the end of a range, as a multiple of its larger end: the distance from 1 to the next number of the class that it is
/// computed for.
constexpr double relative_slack(bool single) noexcept { return single ? 0x1p-23 : 0x1p-52; }

/// The operand of the larger magnitude.
double larger_end(double start, double stop) noexcept;

} // namespace matrix::internal
