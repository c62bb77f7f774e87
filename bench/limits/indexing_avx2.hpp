// The loops over subscripts for AVX2: indices are tested four at a time; there is no scatter and no compress.
#pragma once

#include "positions.hpp"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

namespace limits::by_avx2 {

// Four positions of good indices.
struct four {
    alignas(32) std::uint64_t positions[4];
    bool good;
};

inline four four_positions(const std::int64_t* indices, __m256i count) noexcept {
    const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(indices));
    const __m256i too_low = _mm256_cmpgt_epi64(_mm256_set1_epi64x(1), index);
    const __m256i bad = _mm256_or_si256(_mm256_cmpgt_epi64(index, count), too_low);
    four result;
    _mm256_store_si256(reinterpret_cast<__m256i*>(result.positions),
                       _mm256_sub_epi64(index, _mm256_set1_epi64x(1)));
    result.good = _mm256_testz_si256(bad, bad) != 0;
    return result;
}

// Rounded to a whole number by adding 2^52, whose low bits then hold it.
inline four four_positions(const double* indices, __m256i count) noexcept {
    constexpr double whole_from = 0x1p52;
    constexpr long long bits_of_one_more = 0x4330000000000001;
    const __m256d index = _mm256_loadu_pd(indices);
    const __m256d sum = _mm256_add_pd(index, _mm256_set1_pd(whole_from));
    const __m256d most =
        _mm256_sub_pd(_mm256_castsi256_pd(_mm256_or_si256(count, _mm256_set1_epi64x(bits_of_one_more - 1))),
                      _mm256_set1_pd(whole_from));
    const __m256d whole = _mm256_cmp_pd(_mm256_sub_pd(sum, _mm256_set1_pd(whole_from)), index, _CMP_EQ_OQ);
    const __m256d within = _mm256_and_pd(_mm256_cmp_pd(index, _mm256_set1_pd(1), _CMP_GE_OQ),
                                         _mm256_cmp_pd(index, most, _CMP_LE_OQ));
    four result;
    _mm256_store_si256(reinterpret_cast<__m256i*>(result.positions),
                       _mm256_sub_epi64(_mm256_castpd_si256(sum), _mm256_set1_epi64x(bits_of_one_more)));
    constexpr int all = 15;
    result.good = _mm256_movemask_pd(_mm256_and_pd(whole, within)) == all;
    return result;
}

template <class Index>
limit_array* gather(const double* x, std::size_t count, const Index* indices, std::size_t n) noexcept {
    limit_array* const result = result_of(n);
    double* const out = elements_of(result);
    const __m256i end = _mm256_set1_epi64x(static_cast<long long>(count));
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const four at = four_positions(indices + i, end);
        if (!at.good) return refuse(result, n);
        for (std::size_t k = 0; k < 4; ++k) out[i + k] = x[at.positions[k]];
    }
    for (; i < n; ++i) {
        std::size_t at = 0;
        if (!position_of(indices[i], count, at)) return refuse(result, n);
        out[i] = x[at];
    }
    return result;
}

template <class Index>
bool scatter(double* x, std::size_t count, const Index* indices, const double* values,
             std::size_t n) noexcept {
    const __m256i end = _mm256_set1_epi64x(static_cast<long long>(count));
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const four at = four_positions(indices + i, end);
        if (!at.good) return false;
        for (std::size_t k = 0; k < 4; ++k) x[at.positions[k]] = values[i + k];
    }
    for (; i < n; ++i) {
        std::size_t at = 0;
        if (!position_of(indices[i], count, at)) return false;
        x[at] = values[i];
    }
    return true;
}

// For each set of chosen lanes the halves of four doubles in the order in which the chosen ones come first.
struct packing {
    alignas(32) std::int32_t halves[16][8];

    constexpr packing() noexcept : halves() {
        for (int chosen = 0; chosen < 16; ++chosen) {
            int to = 0;
            for (int lane = 0; lane < 4; ++lane) {
                if ((chosen >> lane & 1) == 0) continue;
                halves[chosen][to++] = 2 * lane;
                halves[chosen][to++] = 2 * lane + 1;
            }
        }
    }
};

// Four elements are stored for up to four that are selected: the result has room for three more.
inline limit_array* select(const double* x, const bool* mask, std::size_t n) noexcept {
    static constexpr packing order;
    const std::size_t count = static_cast<std::size_t>(std::count(mask, mask + n, true));
    limit_array* const result = result_of(count + 4);
    double* out = elements_of(result);
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        std::uint32_t truth;
        std::memcpy(&truth, mask + i, sizeof truth);
        constexpr std::uint32_t gather_bits =
            0x10204080; // brings the lowest bit of each byte together at the top
        const std::uint32_t chosen = truth * gather_bits >> 28;
        const __m256i halves = _mm256_load_si256(reinterpret_cast<const __m256i*>(order.halves[chosen]));
        const __m256i packed =
            _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + i)), halves);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
        out += __builtin_popcount(chosen);
    }
    for (; i < n; ++i) {
        *out = x[i];
        out += mask[i] ? 1 : 0;
    }
    return result;
}

inline limit_array* every_second(const double* x, std::size_t n) noexcept {
    constexpr int in_order = 0b11011000; // lanes 0, 2, 1, 3
    const std::size_t count = (n + 1) / 2;
    limit_array* const result = result_of(count);
    double* const out = elements_of(result);
    std::size_t i = 0;
    for (; 2 * i + 8 <= n; i += 4) {
        const __m256d pairs = _mm256_unpacklo_pd(_mm256_loadu_pd(x + 2 * i), _mm256_loadu_pd(x + 2 * i + 4));
        _mm256_storeu_pd(out + i, _mm256_permute4x64_pd(pairs, in_order));
    }
    for (; i < count; ++i) out[i] = x[2 * i];
    return result;
}

inline void fill(double* out, double value, std::size_t n) noexcept {
    const __m256d four_of_it = _mm256_set1_pd(value);
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) _mm256_storeu_pd(out + i, four_of_it);
    for (; i < n; ++i) out[i] = value;
}

} // namespace limits::by_avx2
