// What happens to one scalar when it changes class: the table of rules, and each rule written out.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): templates and always-inlined functions only.
#pragma once

#include <nd/types.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace matrix::internal {

/// The letters of the table below.
enum class conversion_rule : char {
    copy = '=',     ///< the same class: byte for byte
    test = 't',     ///< to logical: anything but 0 is 1; a NaN is refused
    clamp = 'c',    ///< whole numbers: what lies outside becomes the nearest limit
    round = 'r',    ///< to a whole number, halves away from zero, limits as above; NaN is 0
    truncate = 'k', ///< to a code unit: the fraction is cut off, limits as above; NaN is 0
    number = 'n',   ///< to floating point: the nearest number
};

/// The classes of scalars in the order of their numbers, which is that of the table's rows and columns.
inline constexpr std::array scalar_classes{ndLOGICAL_CLASS, ndCHAR_CLASS,   ndDOUBLE_CLASS, ndSINGLE_CLASS,
                                           ndINT8_CLASS,    ndUINT8_CLASS,  ndINT16_CLASS,  ndUINT16_CLASS,
                                           ndINT32_CLASS,   ndUINT32_CLASS, ndINT64_CLASS,  ndUINT64_CLASS};
inline constexpr std::size_t scalar_class_count = scalar_classes.size();

// clang-format off
inline constexpr std::array<std::string_view, scalar_class_count> conversion_table{
    //                 from  l c   d s   i u i u i u i u
    //                           8 8 16  32  64
    /* logical */           "= t   t t   t t t t t t t t",
    /* char    */           "c =   k k   c c c c c c c c",
    /* double  */           "n n   = n   n n n n n n n n",
    /* single  */           "n n   n =   n n n n n n n n",
    /* int8    */           "c c   r r   = c c c c c c c",
    /* uint8   */           "c c   r r   c = c c c c c c",
    /* int16   */           "c c   r r   c c = c c c c c",
    /* uint16  */           "c c   r r   c c c = c c c c",
    /* int32   */           "c c   r r   c c c c = c c c",
    /* uint32  */           "c c   r r   c c c c c = c c",
    /* int64   */           "c c   r r   c c c c c c = c",
    /* uint64  */           "c c   r r   c c c c c c c =",
};
// clang-format on

/// The rule at a row and a column, both counted in scalar_classes.
consteval conversion_rule rule_at(std::size_t destination, std::size_t source) {
    std::size_t column = 0;
    for (const char letter : conversion_table[destination]) {
        if (letter == ' ') continue;
        if (column == source) return static_cast<conversion_rule>(letter);
        ++column;
    }
    throw "no such column";
}

/// A scalar as conversions read and write it: a logical as an unsigned byte, a code unit as an unsigned 16-bit integer.
template <std::size_t Position>
using scalar_at = std::tuple_element_t<
    Position, std::tuple<std::uint8_t, std::uint16_t, double, float, std::int8_t, std::uint8_t, std::int16_t,
                         std::uint16_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>>;

/// What can't be tested.
template <class Source>
[[gnu::always_inline]] constexpr bool is_nan(Source x) noexcept {
    return x != x;
}

template <class Source>
[[gnu::always_inline]] constexpr std::uint8_t tested(Source x) noexcept {
    return x != 0;
}

template <class Destination, class Source>
[[gnu::always_inline]] constexpr Destination clamped(Source x) noexcept {
    using limits = std::numeric_limits<Destination>;
    using own = std::numeric_limits<Source>;
    constexpr bool may_be_below = own::is_signed && (!limits::is_signed || own::digits > limits::digits);
    constexpr bool may_be_above = own::digits > limits::digits;
    if constexpr (may_be_below) {
        constexpr Source lowest = limits::is_signed ? static_cast<Source>(limits::min()) : Source{0};
        x = x < lowest ? lowest : x;
    }
    if constexpr (may_be_above) {
        constexpr auto highest = static_cast<Source>(limits::max());
        x = x > highest ? highest : x;
    }
    return static_cast<Destination>(x);
}

/// 2^52: a double from here on is whole, and adding one half could only disturb it.
inline constexpr double whole_from = 4503599627370496.0;

/// The smallest number above every value of the class: 2^31 for int32. Exact for each class, unlike the largest value.
template <class Destination>
inline constexpr double
    upper_bound_of = 2.0 *
                     static_cast<double>(std::uint64_t{1} << (std::numeric_limits<Destination>::digits - 1));

/// Limits first: what is cast lies within the class. A single is widened, so that adding one half is exact: in single precision
/// 8388609 would become 8388610.
template <class Destination, class Source>
[[gnu::always_inline]] constexpr Destination rounded(Source source) noexcept {
    using limits = std::numeric_limits<Destination>;
    constexpr double lowest = static_cast<double>(limits::min());
    constexpr double highest = upper_bound_of<Destination> - (sizeof(Destination) < 8 ? 1.0 : 0.0);
    constexpr Destination largest = limits::max();
    constexpr Destination smallest = limits::min();
    const double x = source;
    if (x <= lowest) return smallest;
    if (x >= highest) return largest;
    if (x >= 0.5) return static_cast<Destination>(x >= whole_from ? x : x + 0.5);
    if (x <= -0.5) return static_cast<Destination>(x <= -whole_from ? x : x - 0.5);
    return 0;
}

template <class Source>
[[gnu::always_inline]] constexpr std::uint16_t truncated(Source x) noexcept {
    constexpr Source highest = 65535;
    if (!(x > 0)) return 0;
    if (x >= highest) return 65535;
    return static_cast<std::uint16_t>(x);
}

/// A 64-bit whole number to double in operations that vectors of 64-bit lanes have: both halves become the low digits of a double
/// by their place, and the sum rounds once.
template <class Source>
[[gnu::always_inline]] constexpr double number_by_halves(Source x) noexcept {
    constexpr std::uint64_t two_to_52 = 0x4330'0000'0000'0000;
    constexpr std::uint64_t two_to_84 = 0x4530'0000'0000'0000;
    // Signed numbers are moved up by 2^63, which the subtraction takes back.
    constexpr std::uint64_t sign = std::is_signed_v<Source> ? std::uint64_t{1} << 63 : 0;
    constexpr double moved = 19342813113834066795298816.0 + 4503599627370496.0 +
                             (std::is_signed_v<Source> ? 9223372036854775808.0 : 0.0);
    const std::uint64_t bits = static_cast<std::uint64_t>(x) ^ sign;
    const double high = __builtin_bit_cast(double, two_to_84 | bits >> 32);
    const double low = __builtin_bit_cast(double, two_to_52 | (bits & 0xFFFF'FFFF));
    return (high - moved) + low;
}

/// The scalar that a rule other than copy makes of x.
template <conversion_rule Rule, class Destination, class Source>
[[gnu::always_inline]] constexpr Destination converted(Source x) noexcept {
    if constexpr (Rule == conversion_rule::test) {
        return tested(x);
    } else if constexpr (Rule == conversion_rule::clamp) {
        return clamped<Destination>(x);
    } else if constexpr (Rule == conversion_rule::round) {
        return rounded<Destination>(x);
    } else if constexpr (Rule == conversion_rule::truncate) {
        return truncated(x);
    } else {
        return static_cast<Destination>(x);
    }
}

} // namespace matrix::internal
