// Class conversion: a new array (results.hpp), and the quickest loop for the pair.
//
//   double to whole numbers of up to 32 bits, to code units and to logical   intrinsics, AVX2
//   everything else                                                          loops that the compiler turns into AVX2 where it can
//
// The whole file is compiled for AVX2; nobody asks for a converter on a processor without.
#include "results.hpp"

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

// ---- loops in C

template <class To, class From>
To number(From x) noexcept {
    if constexpr (sizeof(From) == 8 && std::is_integral_v<From> && std::is_same_v<To, double>) {
        // AVX2 has no conversion: both halves as digits of doubles
        constexpr std::uint64_t sign = std::is_signed_v<From> ? std::uint64_t{1} << 63 : 0;
        constexpr double moved = 0x1p84 + 0x1p52 + (std::is_signed_v<From> ? 0x1p63 : 0.0);
        const std::uint64_t bits = static_cast<std::uint64_t>(x) ^ sign;
        const auto high = std::bit_cast<double>(0x4530000000000000U | bits >> 32);
        return (high - moved) + std::bit_cast<double>(0x4330000000000000U | (bits & 0xFFFFFFFFU));
    } else {
        return static_cast<To>(x);
    }
}

template <class To, class From>
To clamp(From x) noexcept {
    constexpr auto lowest = std::numeric_limits<To>::min();
    constexpr auto highest = std::numeric_limits<To>::max();
    if constexpr (std::cmp_less(std::numeric_limits<From>::min(), lowest))
        x = x < From(lowest) ? From(lowest) : x;
    if constexpr (std::cmp_greater(std::numeric_limits<From>::max(), highest))
        x = x > From(highest) ? From(highest) : x;
    return static_cast<To>(x);
}

template <class To>
To round(double x) noexcept {
    constexpr double lowest = std::numeric_limits<To>::min();
    constexpr double bound =
        2.0 * static_cast<double>(std::uint64_t{1} << (std::numeric_limits<To>::digits - 1));
    if (x <= lowest) return std::numeric_limits<To>::min();
    if (x >= (sizeof(To) < 8 ? bound - 1 : bound)) return std::numeric_limits<To>::max();
    if (x >= 0.5) return static_cast<To>(x < 0x1p52 ? x + 0.5 : x);
    if (x <= -0.5) return static_cast<To>(x > -0x1p52 ? x - 0.5 : x);
    return 0;
}

std::uint16_t truncate(double x) noexcept {
    if (!(x > 0)) return 0;
    return x >= 65535 ? std::uint16_t{65535} : static_cast<std::uint16_t>(x);
}

// ---- loops with intrinsics: how many elements they did

__m256d half_added(const double* from) noexcept {
    const __m256d sign = _mm256_set1_pd(-0.0);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d x = _mm256_loadu_pd(from);
    const __m256d counts = _mm256_cmp_pd(_mm256_andnot_pd(sign, x), half, _CMP_GE_OQ);
    return _mm256_add_pd(_mm256_and_pd(x, counts), _mm256_or_pd(_mm256_and_pd(sign, x), half));
}

template <class To>
__m128i rounded(const double* from) noexcept {
    const __m256d lowest = _mm256_set1_pd(std::numeric_limits<To>::min());
    const __m256d highest = _mm256_set1_pd(std::numeric_limits<To>::max());
    return _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(half_added(from), lowest), highest));
}

// max's second operand is the answer for NaN
__m128i truncated(const double* from) noexcept {
    const __m256d x = _mm256_max_pd(_mm256_loadu_pd(from), _mm256_setzero_pd());
    return _mm256_cvttpd_epi32(_mm256_min_pd(x, _mm256_set1_pd(65535)));
}

template <class To>
std::size_t round_to_bytes(To* to, const double* from, std::size_t count) noexcept {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i low = _mm_packs_epi32(rounded<To>(from + i), rounded<To>(from + i + 4));
        const __m128i high = _mm_packs_epi32(rounded<To>(from + i + 8), rounded<To>(from + i + 12));
        const __m128i bytes = std::is_signed_v<To> ? _mm_packs_epi16(low, high) : _mm_packus_epi16(low, high);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), bytes);
    }
    for (; i + 4 <= count; i += 4) {
        const __m128i pairs = _mm_packs_epi32(rounded<To>(from + i), _mm_setzero_si128());
        const __m128i bytes =
            std::is_signed_v<To> ? _mm_packs_epi16(pairs, pairs) : _mm_packus_epi16(pairs, pairs);
        _mm_storeu_si32(to + i, bytes);
    }
    return i;
}

template <class To, class Four>
std::size_t to_16_bits(To* to, const double* from, std::size_t count, Four four) noexcept {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i x = four(from + i);
        _mm_storeu_si64(to + i, std::is_signed_v<To> ? _mm_packs_epi32(x, x) : _mm_packus_epi32(x, x));
    }
    return i;
}

std::size_t round_to_int32(std::int32_t* to, const double* from, std::size_t count) noexcept {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), rounded<std::int32_t>(from + i));
    return i;
}

// Sixteen at a time; one with a NaN in it would stop the loop.
std::size_t test(std::uint8_t* to, const double* from, std::size_t count) noexcept {
    const auto four = [](const double* at, __m256d& nan) noexcept {
        const __m256d x = _mm256_loadu_pd(at);
        nan = _mm256_or_pd(nan, _mm256_cmp_pd(x, x, _CMP_UNORD_Q));
        const __m256i is = _mm256_castpd_si256(_mm256_cmp_pd(x, _mm256_setzero_pd(), _CMP_NEQ_UQ));
        return _mm_packs_epi32(_mm256_castsi256_si128(is),
                               _mm256_extracti128_si256(is, 1)); // 16-bit pairs of each
    };
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        __m256d nan = _mm256_setzero_pd();
        const __m128i a = _mm_packs_epi32(four(from + i, nan), four(from + i + 4, nan));
        const __m128i b = _mm_packs_epi32(four(from + i + 8, nan), four(from + i + 12, nan));
        if (_mm256_movemask_pd(nan) != 0) return i;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i),
                         _mm_and_si128(_mm_packs_epi16(a, b), _mm_set1_epi8(1)));
    }
    return i;
}

// ---- pairs

struct logical {
    std::uint8_t byte;
};
struct code_unit {
    std::uint16_t unit;
};

template <class T>
using plain = std::conditional_t<std::is_same_v<T, logical>, std::uint8_t,
                                 std::conditional_t<std::is_same_v<T, code_unit>, std::uint16_t, T>>;

template <class To, class From>
plain<To> one(plain<From> x) noexcept {
    if constexpr (std::is_same_v<To, logical>) {
        return x != 0;
    } else if constexpr (std::is_floating_point_v<To>) {
        return number<To>(x);
    } else if constexpr (!std::is_floating_point_v<From>) {
        return clamp<plain<To>>(x);
    } else if constexpr (std::is_same_v<To, code_unit>) {
        return truncate(x);
    } else {
        return round<To>(x);
    }
}

template <class To, class From>
constexpr bool has_intrinsics = std::is_same_v<From, double> &&
                                (std::is_same_v<To, logical> || std::is_same_v<To, code_unit> ||
                                 (std::is_integral_v<To> && sizeof(To) <= 4 &&
                                  !std::is_same_v<To, std::uint32_t>));

template <class To>
std::size_t by_intrinsics(plain<To>* to, const double* from, std::size_t count) noexcept {
    if constexpr (std::is_same_v<To, logical>) {
        return test(to, from, count);
    } else if constexpr (std::is_same_v<To, code_unit>) {
        return to_16_bits(to, from, count, truncated);
    } else if constexpr (sizeof(To) == 1) {
        return round_to_bytes(to, from, count);
    } else if constexpr (sizeof(To) == 2) {
        return to_16_bits(to, from, count, rounded<To>);
    } else {
        return round_to_int32(to, from, count);
    }
}

template <class To, class From>
limit_array* convert(const void* source, std::size_t count) {
    limit_array* const result = limits::create_result(count * sizeof(To));
    auto* __restrict const to = static_cast<plain<To>*>(result->data);
    const auto* __restrict const from = static_cast<const plain<From>*>(source);
    std::size_t done = 0;
    if constexpr (has_intrinsics<To, From>) done = by_intrinsics<To>(to, from, count);
    for (; done < count; ++done) to[done] = one<To, From>(from[done]);
    return result;
}

// In the order of class numbers, from logical on; void is none.
using scalars = std::tuple<logical, code_unit, void, double, float, std::int8_t, std::uint8_t, std::int16_t,
                           std::uint16_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
constexpr std::size_t class_count = std::tuple_size_v<scalars>;
constexpr int first_class = 3;

template <std::size_t Pair>
constexpr limit_conversion conversion_of() noexcept {
    using to = std::tuple_element_t<Pair / class_count, scalars>;
    using from = std::tuple_element_t<Pair % class_count, scalars>;
    if constexpr (std::is_void_v<to> || std::is_void_v<from> || std::is_same_v<to, from>) {
        return {nullptr, nullptr};
    } else {
        return {convert<to, from>, has_intrinsics<to, from> ? "avx2" : "C(-O3,avx2)"};
    }
}

template <std::size_t... Pair>
limit_conversion conversion_at(std::size_t pair, std::index_sequence<Pair...>) noexcept {
    static constexpr limit_conversion table[] = {conversion_of<Pair>()...};
    return table[pair];
}

} // namespace

limit_conversion limit_conversion_between(int from_class, int to_class) {
    const auto pair = static_cast<std::size_t>(to_class - first_class) * class_count +
                      static_cast<std::size_t>(from_class - first_class);
    return conversion_at(pair, std::make_index_sequence<class_count * class_count>());
}
