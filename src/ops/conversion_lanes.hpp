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

/// Vectors that go through a rule together.
template <class T, std::size_t Count, std::size_t Number>
struct batch {
    vector<T, Count> at[Number];
};

template <class T, std::size_t Count, std::size_t Number>
[[gnu::always_inline]] inline void store(T* to, const batch<T, Count, Number>& x) noexcept {
    for (std::size_t i = 0; i < Number; ++i) __builtin_memcpy(to + i * Count, &x.at[i], sizeof x.at[i]);
}

namespace detail {

template <class Narrow, std::size_t Count, class Wide, std::size_t... Lane>
[[gnu::always_inline]] inline vector<Narrow, Count> low_parts(vector<Wide, Count> x,
                                                              std::index_sequence<Lane...>) noexcept {
    constexpr std::size_t parts = sizeof(Wide) / sizeof(Narrow);
    const auto pieces = (vector<Narrow, Count * parts>)x;
    return __builtin_shufflevector(pieces, pieces, (Lane * parts)...);
}

template <class Half, std::size_t Count, class Wide, std::size_t... Lane>
[[gnu::always_inline]] inline vector<Half, 2 * Count>
low_halves(vector<Wide, Count> first, vector<Wide, Count> second, std::index_sequence<Lane...>) noexcept {
    using halves = vector<Half, 2 * Count>;
    return __builtin_shufflevector((halves)first, (halves)second, (2 * Lane)...);
}

// The signed whole number half as wide as T.
template <class T>
using half_of = std::conditional_t<sizeof(T) == 8, std::int32_t,
                                   std::conditional_t<sizeof(T) == 4, std::int16_t, std::int8_t>>;

template <std::size_t Count, class Mask, std::size_t... Byte>
[[gnu::always_inline]] inline vector<std::uint8_t, Count * sizeof(Mask)>
bytes_of_lanes(vector<Mask, Count> x, std::index_sequence<Byte...>) noexcept {
    const auto bytes = (vector<std::uint8_t, Count * sizeof(Mask)>)x;
    return __builtin_shufflevector(bytes, bytes, (Byte % Count * sizeof(Mask) + Byte / Count)...);
}

} // namespace detail

/// The lanes of as many comparisons as a lane has bytes, in their order, as bytes of 0 or 1. Each comparison gets a byte of all lanes, and
/// then the bytes change places.
template <class Mask, std::size_t Count>
[[gnu::always_inline]] inline auto truths(const batch<Mask, Count, sizeof(Mask)>& is) noexcept {
    vector<Mask, Count> joined{};
    for (std::size_t i = 0; i < sizeof(Mask); ++i) joined |= is.at[i] & (Mask{1} << (8 * i));
    return detail::bytes_of_lanes<Count, Mask>(joined, std::make_index_sequence<Count * sizeof(Mask)>());
}

/// The low bits of each lane. Little-endian, as every processor with these kernels is.
template <class Narrow, class Wide, std::size_t Count, std::size_t Number>
[[gnu::always_inline]] inline auto narrowed(const batch<Wide, Count, Number>& x) noexcept {
    if constexpr (sizeof(Narrow) == sizeof(Wide)) {
        batch<Narrow, Count, Number> y;
        for (std::size_t i = 0; i < Number; ++i) y.at[i] = (vector<Narrow, Count>)x.at[i];
        return y;
    } else if constexpr (Number == 1) {
        constexpr auto lanes = std::make_index_sequence<Count>();
        return batch<Narrow, Count, 1>{{detail::low_parts<Narrow, Count, Wide>(x.at[0], lanes)}};
    } else {
        using half = detail::half_of<Wide>;
        constexpr auto lanes = std::make_index_sequence<2 * Count>();
        batch<half, 2 * Count, Number / 2> y;
        for (std::size_t i = 0; i < Number / 2; ++i)
            y.at[i] = detail::low_halves<half, Count, Wide>(x.at[2 * i], x.at[2 * i + 1], lanes);
        return narrowed<Narrow>(y);
    }
}

/// The largest number below one half. Where the fraction of x is one half, the sum of both lies between two numbers of its type and is
/// rounded to the whole one above; where it is less the sum stays below, which x + 0.5 wouldn't always.
template <class Work>
inline constexpr Work nearly_half = Work(0.5) - std::numeric_limits<Work>::epsilon() / 4;

/// Nearly one half is added, away from zero: cut off, the sums are the rounded values. NaN becomes less than 1.
template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<Work, Count> half_added(vector<Work, Count> x) noexcept {
    using bits = vector<bits_of<Work>, Count>;
    const bits sign = (bits)all<Work, Count>(Work(-0.0));
    const bits half = (bits)all<Work, Count>(nearly_half<Work>);
    const bits number = x == x;
    return (vector<Work, Count>)((bits)x & number) + (vector<Work, Count>)(((bits)x & sign) | half);
}

/// Makes the compiler forget that x is a constant: g++ 12 has instructions for the lower and the higher of two numbers, but where one of
/// them is a constant it compares and chooses.
template <class Vector>
[[gnu::always_inline]] inline void hide_value([[maybe_unused]] Vector& x) noexcept {
#if defined(__AVX512F__)
    constexpr std::size_t widest = 64;
#elif defined(__AVX__)
    constexpr std::size_t widest = 32;
#else
    constexpr std::size_t widest = 0;
#endif
    if constexpr (sizeof x <= widest) __asm__("" : "+x"(x));
}

template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<Work, Count> between(vector<Work, Count> x, Work lowest,
                                                          Work highest) noexcept {
    auto low = all<Work, Count>(lowest);
    auto high = all<Work, Count>(highest);
    hide_value(low);
    hide_value(high);
    x = x < low ? low : x;
    return x > high ? high : x;
}

/// half_added() for classes without negative numbers; what is negative, and NaN, become less than 1.
template <class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<Work, Count> half_added_to_positive(vector<Work, Count> x) noexcept {
    auto zero = all<Work, Count>(Work(0));
    hide_value(zero);
    return (x > zero ? x : zero) + nearly_half<Work>;
}

/// To a class of at most 32 bits, as 32-bit lanes. Work may be float where the class has at most 16 bits: every sum below 2^16 in
/// magnitude is exact then or stays within its whole number.
template <class Destination, class Work, std::size_t Count>
[[gnu::always_inline]] inline vector<std::int32_t, Count> rounded_to_32(vector<Work, Count> x) noexcept {
    constexpr auto lowest = static_cast<Work>(std::numeric_limits<Destination>::min());
    constexpr auto highest = static_cast<Work>(upper_bound_of<Destination> - 1);
    const auto rounded =
        std::is_signed_v<Destination> ? half_added<Work, Count>(x) : half_added_to_positive<Work, Count>(x);
    const auto sum = between<Work, Count>(rounded, lowest, highest);
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
    auto zero = all<Work, Count>(Work(0));
    auto highest = all<Work, Count>(Work(65535));
    hide_value(zero);
    hide_value(highest);
    x = x > zero ? x : zero; // NaN too
    return __builtin_convertvector(x < highest ? x : highest, vector<std::int32_t, Count>);
}

} // namespace matrix::internal::lanes
