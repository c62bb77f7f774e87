// Ranges of doubles: the count, a new row, and the quickest loop. The last element of a range with fractions is its stop.
//
//   few elements   loops that the compiler turns into AVX2
//   many           intrinsics, AVX-512, where the processor has it
//
// The whole file is compiled for AVX2; nobody asks for a range on a processor without.
#include "results.hpp"

#include <immintrin.h>

#include <cmath>

namespace {

// Four registers that don't wait for each other.
__attribute__((target("avx512f"))) void fill_by_512(double* out, std::size_t count, double start,
                                                    double step) noexcept {
    const __m512d start_8 = _mm512_set1_pd(start);
    const __m512d step_8 = _mm512_set1_pd(step);
    const __m512d eight = _mm512_set1_pd(8);
    const __m512d thirty_two = _mm512_set1_pd(32);
    __m512d a = _mm512_set_pd(7, 6, 5, 4, 3, 2, 1, 0);
    __m512d b = _mm512_add_pd(a, eight);
    __m512d c = _mm512_add_pd(b, eight);
    __m512d d = _mm512_add_pd(c, eight);
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        _mm512_storeu_pd(out + i, _mm512_add_pd(start_8, _mm512_mul_pd(a, step_8)));
        _mm512_storeu_pd(out + i + 8, _mm512_add_pd(start_8, _mm512_mul_pd(b, step_8)));
        _mm512_storeu_pd(out + i + 16, _mm512_add_pd(start_8, _mm512_mul_pd(c, step_8)));
        _mm512_storeu_pd(out + i + 24, _mm512_add_pd(start_8, _mm512_mul_pd(d, step_8)));
        a = _mm512_add_pd(a, thirty_two);
        b = _mm512_add_pd(b, thirty_two);
        c = _mm512_add_pd(c, thirty_two);
        d = _mm512_add_pd(d, thirty_two);
    }
    for (; i < count; ++i) out[i] = start + static_cast<double>(i) * step;
}

void fill_by_c(double* out, std::size_t count, double start, double step) noexcept {
    for (std::size_t i = 0; i < count; ++i) out[i] = start + static_cast<double>(static_cast<int>(i)) * step;
}

template <void (*Fill)(double*, std::size_t, double, double) noexcept>
limit_array* range(double start, double step, double stop) {
    constexpr double slack = 1e-10;
    const auto count = static_cast<std::size_t>((stop - start) / step + slack) + 1;
    limit_array* const result = limits::create_result(count * sizeof(double));
    auto* const out = static_cast<double*>(result->data);
    Fill(out, count, start, step);
    out[count - 1] = stop;
    return result;
}

constexpr std::size_t few = 64;

} // namespace

limit_range limit_range_of(size_t count) {
    if (count <= few || !__builtin_cpu_supports("avx512f")) return {range<fill_by_c>, "C(-O3,avx2)"};
    return {range<fill_by_512>, "avx512"};
}
