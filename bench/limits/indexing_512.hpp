// The loops over subscripts for AVX-512, with gather, scatter and compress: eight elements at a time, the rest by masks.
#pragma once

#include "positions.hpp"

#include <immintrin.h>

#define AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,popcnt")))

namespace limits::by_512 {

// Eight positions; a clear bit in the mask tells a bad index.
struct eight {
    __m512i positions;
    __mmask8 good;
};

AVX512 inline eight eight_positions(const std::int64_t* indices, __mmask8 lanes, __m512i count) noexcept {
    const __m512i at = _mm512_sub_epi64(_mm512_maskz_loadu_epi64(lanes, indices), _mm512_set1_epi64(1));
    return {at, _mm512_mask_cmplt_epu64_mask(lanes, at, count)};
}

AVX512 inline eight eight_positions(const double* indices, __mmask8 lanes, __m512i count) noexcept {
    const __m512d given = _mm512_maskz_loadu_pd(lanes, indices);
    const __m512i whole = _mm512_cvttpd_epi64(given);
    const __mmask8 exact = _mm512_mask_cmp_pd_mask(lanes, _mm512_cvtepi64_pd(whole), given, _CMP_EQ_OQ);
    const __m512i at = _mm512_sub_epi64(whole, _mm512_set1_epi64(1));
    return {at, _mm512_mask_cmplt_epu64_mask(exact, at, count)};
}

inline __mmask8 lanes_for(std::size_t left) noexcept {
    return left >= 8 ? __mmask8{0xFF} : static_cast<__mmask8>((1U << left) - 1);
}

template <class Index>
AVX512 limit_array* gather(const double* x, std::size_t count, const Index* indices, std::size_t n) noexcept {
    limit_array* const result = result_of(n);
    double* const out = elements_of(result);
    const __m512i end = _mm512_set1_epi64(static_cast<long long>(count));
    for (std::size_t i = 0; i < n; i += 8) {
        const __mmask8 lanes = lanes_for(n - i);
        const eight at = eight_positions(indices + i, lanes, end);
        if (at.good != lanes) return refuse(result, n);
        const __m512d found = _mm512_mask_i64gather_pd(_mm512_setzero_pd(), lanes, at.positions, x, 8);
        _mm512_mask_storeu_pd(out + i, lanes, found);
    }
    return result;
}

template <class Index>
AVX512 bool scatter(double* x, std::size_t count, const Index* indices, const double* values,
                    std::size_t n) noexcept {
    const __m512i end = _mm512_set1_epi64(static_cast<long long>(count));
    for (std::size_t i = 0; i < n; i += 8) {
        const __mmask8 lanes = lanes_for(n - i);
        const eight at = eight_positions(indices + i, lanes, end);
        if (at.good != lanes) return false;
        _mm512_mask_i64scatter_pd(x, lanes, at.positions, _mm512_maskz_loadu_pd(lanes, values + i), 8);
    }
    return true;
}

AVX512 inline limit_array* select(const double* x, const bool* mask, std::size_t n) noexcept {
    std::size_t count = 0;
    std::size_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i truth = _mm512_loadu_si512(mask + i);
        count += static_cast<std::size_t>(_mm_popcnt_u64(_mm512_test_epi8_mask(truth, truth)));
    }
    for (; i < n; ++i) count += mask[i] ? 1 : 0;
    limit_array* const result = result_of(count + 4);
    double* out = elements_of(result);
    for (i = 0; i + 8 <= n; i += 8) {
        const __m128i truth = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(mask + i));
        const auto chosen = static_cast<__mmask8>(_mm_test_epi8_mask(truth, truth));
        _mm512_mask_compressstoreu_pd(out, chosen, _mm512_loadu_pd(x + i));
        out += _mm_popcnt_u32(chosen);
    }
    for (; i < n; ++i) {
        *out = x[i];
        out += mask[i] ? 1 : 0;
    }
    return result;
}

AVX512 inline limit_array* every_second(const double* x, std::size_t n) noexcept {
    const std::size_t count = (n + 1) / 2;
    limit_array* const result = result_of(count);
    double* const out = elements_of(result);
    const __m512i even = _mm512_set_epi64(14, 12, 10, 8, 6, 4, 2, 0);
    std::size_t i = 0;
    for (; 2 * i + 16 <= n; i += 8) {
        const __m512d low = _mm512_loadu_pd(x + 2 * i);
        const __m512d high = _mm512_loadu_pd(x + 2 * i + 8);
        _mm512_storeu_pd(out + i, _mm512_permutex2var_pd(low, even, high));
    }
    for (; i < count; ++i) out[i] = x[2 * i];
    return result;
}

AVX512 inline void fill(double* out, double value, std::size_t n) noexcept {
    const __m512d eight_of_it = _mm512_set1_pd(value);
    std::size_t i = 0;
    for (; i + 8 <= n; i += 8) _mm512_storeu_pd(out + i, eight_of_it);
    _mm512_mask_storeu_pd(out + i, lanes_for(n - i), eight_of_it);
}

} // namespace limits::by_512

#undef AVX512
