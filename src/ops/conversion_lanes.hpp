// The rules that the compiler doesn't turn into vector instructions by itself, for a few scalars at a time: floating point to
// whole numbers. Each does what its namesake of conversion_rules.hpp does, without branches.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): always-inlined functions only. The vectors are the compiler's own
// (vector_size), so one text serves every width.
#pragma once

#include "ops/conversion_rules.hpp"

#include <foundation/core/cpu/registers.hpp>

#include <cstddef>
#include <utility>

namespace matrix::internal::lanes {

using foundation::core::cpu::vector;

/// The whole number as wide as a scalar: its bits, and the lanes of a comparison.
template <class T>
using bits_of = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;

template <class T, std::size_t Count>
[[gnu::always_inline]] inline vector<T, Count> load(const T* from) noexcept {
    vector<T, Count> x;
    __builtin_memcpy(&x, from, sizeof x);
    return x;
}

/// Every lane the same. Subtracting 0 keeps every number as it is; adding it would lose the sign of -0.
template <class T, std::size_t Count>
[[gnu::always_inline]] inline vector<T, Count> all(T x) noexcept {
    return x - vector<T, Count>{};
}

template <class Narrow, std::size_t Count, class Wide, std::size_t... Lane>
[[gnu::always_inline]] inline void store_low_parts(Narrow* to, vector<Wide, Count> x,
                                                   std::index_sequence<Lane...>) noexcept {
    constexpr std::size_t parts = sizeof(Wide) / sizeof(Narrow);
    const auto pieces = (vector<Narrow, Count * parts>)x;
    const vector<Narrow, Count> low = __builtin_shufflevector(pieces, pieces, (Lane * parts)...);
    __builtin_memcpy(to, &low, sizeof low);
}

/// Stores the low bits of each lane. Little-endian, as every processor with these kernels is.
template <class Narrow, std::size_t Count, class Wide>
[[gnu::always_inline]] inline void store_narrowed(Narrow* to, vector<Wide, Count> x) noexcept {
    if constexpr (sizeof(Narrow) == sizeof(Wide)) {
        __builtin_memcpy(to, &x, sizeof x);
    } else {
        store_low_parts<Narrow, Count, Wide>(to, x, std::make_index_sequence<Count>());
    }
}

/// Magnitudes below one half, and NaN, become 0; to the others one half is added, away from zero. The sums aren't cut off yet.
template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<Work, Count> half_added(vector<Work, Count> x) noexcept {
    using bits = vector<bits_of<Work>, Count>;
    const bits sign = (bits)all<Work, Count>(Work(-0.0));
    const bits half = (bits)all<Work, Count>(Work(0.5));
    const auto magnitude = (vector<Work, Count>)((bits)x & ~sign);
    const bits counts = magnitude >= Work(0.5);
    return (vector<Work, Count>)((bits)x & counts) + (vector<Work, Count>)(((bits)x & sign) | half);
}

template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<Work, Count> between(vector<Work, Count> x, Work lowest,
                                                          Work highest) noexcept {
    const auto low = all<Work, Count>(lowest);
    const auto high = all<Work, Count>(highest);
    x = x < low ? low : x;
    return x > high ? high : x;
}

/// To a class of at most 32 bits, as 32-bit lanes. Work may be float where the class has at most 16 bits: every sum below 2^16 in
/// magnitude is exact then or stays within its whole number.
template <class Destination, class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<std::int32_t, Count> rounded_to_32(vector<Work, Count> x) noexcept {
    constexpr auto lowest = static_cast<Work>(std::numeric_limits<Destination>::min());
    constexpr auto highest = static_cast<Work>(upper_bound_of<Destination> - 1);
    const auto sum = between<Work, Count>(half_added<Work, Count>(x), lowest, highest);
    if constexpr (std::is_same_v<Destination, std::uint32_t>) {
        // The processors convert to signed numbers: the upper half moves down by 2^31 and gets its top bit back.
        constexpr Work half_range = 2147483648.0;
        const vector<bits_of<Work>, Count> upper = sum >= half_range;
        const auto lower =
            (vector<Work, Count>)(upper & (vector<bits_of<Work>, Count>)all<Work, Count>(half_range));
        const auto top =
            __builtin_convertvector(upper, vector<std::int32_t, Count>) & std::int32_t(-0x7FFFFFFF - 1);
        return __builtin_convertvector(sum - lower, vector<std::int32_t, Count>) ^ top;
    } else {
        return __builtin_convertvector(sum, vector<std::int32_t, Count>);
    }
}

/// Magnitudes below 2^64 to whole numbers by their bits, for processors that convert to 32 bits only: the fraction is shifted out
/// but for its first bit, which rounds. Lanes beyond, and NaN, come out as anything.
template <std::size_t Count>
[[gnu::always_inline]] inline vector<std::uint64_t, Count>
magnitude_by_bits(vector<double, Count> x) noexcept {
    using words = vector<std::uint64_t, Count>;
    using numbers = vector<std::int64_t, Count>;
    constexpr int fraction_bits = 52;
    constexpr std::int64_t whole_exponent = 1023 + fraction_bits; // of numbers whose last bit is worth 1
    constexpr std::int64_t longest_shift = 63;
    const words bits = (words)x;
    const numbers exponent = (numbers)((bits >> fraction_bits) & 0x7FF);
    const words digits = (bits & 0xFFFFFFFFFFFFFULL) | 0x10000000000000ULL;
    const numbers left = exponent - whole_exponent;
    const numbers right = -1 - left;
    const words whole = digits << (words)(left & longest_shift);
    const words shift =
        (words)(right > longest_shift ? all<std::int64_t, Count>(longest_shift) : right & longest_shift);
    const words nearest = ((digits >> shift) + 1) >> 1;
    return left >= 0 ? whole : nearest;
}

/// To 64 bits with the processor's own conversion.
template <class Destination, std::size_t Count>
[[gnu::always_inline]] inline vector<Destination, Count> rounded_by_cast(vector<double, Count> x) noexcept {
    using mask = vector<std::int64_t, Count>;
    const auto magnitude = (vector<double, Count>)((mask)x & ~(mask)all<double, Count>(-0.0));
    const auto sum = magnitude >= whole_from ? x : half_added<double, Count>(x);
    constexpr double lowest = static_cast<double>(std::numeric_limits<Destination>::min());
    const mask inside = (sum > lowest) & (sum < upper_bound_of<Destination>);
    return __builtin_convertvector((vector<double, Count>)((mask)sum & inside), vector<Destination, Count>);
}

/// To a class of 64 bits. Wide says that the processor converts doubles to 64 bits.
template <class Destination, bool Wide, std::size_t Count>
[[gnu::always_inline]] inline vector<Destination, Count> rounded_to_64(vector<double, Count> x) noexcept {
    using result = vector<Destination, Count>;
    using mask = vector<std::int64_t, Count>;
    constexpr double lowest = static_cast<double>(std::numeric_limits<Destination>::min());
    constexpr Destination smallest = std::numeric_limits<Destination>::min();
    constexpr Destination largest = std::numeric_limits<Destination>::max();
    result y;
    if constexpr (Wide) {
        y = rounded_by_cast<Destination, Count>(x);
    } else {
        const auto magnitude = magnitude_by_bits<Count>(x);
        // Unsigned: lanes out of range are garbage until the bounds replace them, and may wrap.
        using bits = vector<std::uint64_t, Count>;
        const bits negative = (bits)(mask)(x < 0.0);
        const bits number = (bits)(mask)(x == x);
        y = (result)((((bits)magnitude ^ negative) - negative) & number);
    }
    const mask above = x >= upper_bound_of<Destination>;
    const mask below = x <= lowest;
    y = (result)above ? all<Destination, Count>(largest) : y;
    return (result)below ? all<Destination, Count>(smallest) : y;
}

/// To code units, as 32-bit lanes.
template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<std::int32_t, Count> truncated_to_32(vector<Work, Count> x) noexcept {
    using mask = vector<bits_of<Work>, Count>;
    const mask positive = x > Work(0);
    constexpr Work highest = 65535;
    const auto inside = between<Work, Count>((vector<Work, Count>)((mask)x & positive), 0, highest);
    return __builtin_convertvector(inside, vector<std::int32_t, Count>);
}

} // namespace matrix::internal::lanes
