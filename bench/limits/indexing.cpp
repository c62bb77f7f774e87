// Parts of arrays by subscripts, in and out: each index is checked, the result is a new array (results.hpp), and the loop is the quickest
// for so many.
//
//   few elements   loops in C
//   many           intrinsics, AVX-512 with gather, scatter and compress; whole numbers AVX2 where that is quicker
//
// Indices count from 1. A creator answers null, and nothing more is stored, at the first one that is no whole number from 1 on or
// beyond the end. The whole file is compiled for AVX2; the rows are left out on a processor without AVX-512.
#include "results.hpp"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#define AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,popcnt")))

namespace {

constexpr std::size_t few = 64;
constexpr std::size_t large = 100000; // beyond the caches next to the core

limit_array* result_of(std::size_t count) noexcept { return limits::create_result(count * sizeof(double)); }

double* elements_of(limit_array* array) noexcept { return static_cast<double*>(array->data); }

limit_array* refuse(limit_array* array, std::size_t count) noexcept {
    limit_destroy_result(array, count * sizeof(double));
    return nullptr;
}

bool position_of(double index, std::size_t count, std::size_t& position) noexcept {
    if (!(index >= 1 && index <= static_cast<double>(count))) return false;
    const auto whole = static_cast<std::int64_t>(index);
    position = static_cast<std::size_t>(whole) - 1;
    return static_cast<double>(whole) == index;
}

bool position_of(std::int64_t index, std::size_t count, std::size_t& position) noexcept {
    position = static_cast<std::size_t>(index) - 1;
    return position < count;
}

// ---- eight positions at once; a clear bit in the mask tells a bad index

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
limit_array* gather_by_c(const double* x, std::size_t count, const Index* indices, std::size_t n) noexcept {
    limit_array* const result = result_of(n);
    double* const out = elements_of(result);
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t at = 0;
        if (!position_of(indices[i], count, at)) return refuse(result, n);
        out[i] = x[at];
    }
    return result;
}

limit_array* gather_by_avx2(const double* x, std::size_t count, const std::int64_t* indices,
                            std::size_t n) noexcept {
    limit_array* const result = result_of(n);
    double* const out = elements_of(result);
    const __m256i end = _mm256_set1_epi64x(static_cast<long long>(count));
    const __m256i none = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(indices + i));
        const __m256i bad =
            _mm256_or_si256(_mm256_cmpgt_epi64(index, end),
                            _mm256_xor_si256(_mm256_cmpgt_epi64(index, none), _mm256_set1_epi64x(-1)));
        if (_mm256_testz_si256(bad, bad) == 0) return refuse(result, n);
        _mm256_storeu_pd(out + i, _mm256_i64gather_pd(x - 1, index, 8));
    }
    for (; i < n; ++i) {
        std::size_t at = 0;
        if (!position_of(indices[i], count, at)) return refuse(result, n);
        out[i] = x[at];
    }
    return result;
}

template <class Index>
AVX512 limit_array* gather_by_512(const double* x, std::size_t count, const Index* indices,
                                  std::size_t n) noexcept {
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
AVX512 bool scatter_by_512(double* x, std::size_t count, const Index* indices, const double* values,
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

// ---- masks

limit_array* select_by_c(const double* x, const bool* mask, std::size_t n) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < n; ++i) count += mask[i] ? 1 : 0;
    limit_array* const result =
        limits::create_result((count + 1) * sizeof(double)); // one is stored behind the last
    double* const out = elements_of(result);
    std::size_t k = 0;
    for (std::size_t i = 0; i < n; ++i) {
        out[k] = x[i];
        k += mask[i] ? 1 : 0;
    }
    return result;
}

AVX512 limit_array* select_by_512(const double* x, const bool* mask, std::size_t n) noexcept {
    std::size_t count = 0;
    std::size_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i truth = _mm512_loadu_si512(mask + i);
        count += static_cast<std::size_t>(_mm_popcnt_u64(_mm512_test_epi8_mask(truth, truth)));
    }
    for (; i < n; ++i) count += mask[i] ? 1 : 0;
    limit_array* const result = result_of(count + 1);
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

// ---- every second element

limit_array* every_second_by_c(const double* x, std::size_t n) noexcept {
    const std::size_t count = (n + 1) / 2;
    limit_array* const result = result_of(count);
    double* const out = elements_of(result);
    for (std::size_t i = 0; i < count; ++i) out[i] = x[2 * i];
    return result;
}

AVX512 limit_array* every_second_by_512(const double* x, std::size_t n) noexcept {
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

AVX512 void fill_by_512(double* out, double value, std::size_t n) noexcept {
    const __m512d eight_of_it = _mm512_set1_pd(value);
    std::size_t i = 0;
    for (; i + 8 <= n; i += 8) _mm512_storeu_pd(out + i, eight_of_it);
    _mm512_mask_storeu_pd(out + i, lanes_for(n - i), eight_of_it);
}

} // namespace

limit_gather_int64 limit_gather_int64_of(size_t count) {
    if (count <= few) return {gather_by_c<std::int64_t>, "checked-C"};
    if (count < large) return {gather_by_avx2, "checked-avx2"};
    return {gather_by_512<std::int64_t>, "checked-avx512-gather"};
}

limit_array* limit_gather_double(const double* x, size_t count, const double* indices, size_t n) {
    return gather_by_512(x, count, indices, n);
}

bool limit_scatter_int64(double* x, size_t count, const int64_t* indices, const double* values, size_t n) {
    return scatter_by_512(x, count, indices, values, n);
}

bool limit_scatter_double(double* x, size_t count, const double* indices, const double* values, size_t n) {
    return scatter_by_512(x, count, indices, values, n);
}

limit_mask_select limit_mask_select_of(size_t count) {
    if (count <= few) return {select_by_c, "C-branchless"};
    return {select_by_512, "avx512-compress"};
}

limit_every_second limit_every_second_of(size_t count) {
    if (count <= few) return {every_second_by_c, "scalar-C"};
    return {every_second_by_512, "avx512"};
}

limit_array* limit_run(const double* x, size_t first, size_t n) {
    limit_array* const result = result_of(n);
    std::memcpy(result->data, x + first, n * sizeof(double));
    return result;
}

limit_array* limit_kept(const double* x, size_t count, size_t first, size_t n) {
    limit_array* const result = result_of(count - n);
    std::memcpy(result->data, x, first * sizeof(double));
    std::memcpy(elements_of(result) + first, x + first + n, (count - first - n) * sizeof(double));
    return result;
}

void limit_fill(double* x, size_t first, double value, size_t n) {
    if (n < large) {
        fill_by_512(x + first, value, n);
    } else {
        std::fill_n(x + first, n, value);
    }
}

limit_array* limit_block(const double* x, size_t rows, limit_region part) {
    limit_array* const result = result_of(part.rows * part.columns);
    double* out = elements_of(result);
    const double* from = x + part.column * rows + part.row;
    for (size_t j = 0; j < part.columns; ++j) {
        std::memcpy(out, from, part.rows * sizeof(double));
        out += part.rows;
        from += rows;
    }
    return result;
}

limit_array* limit_block_by_indices(const double* x, size_t rows, size_t columns, const double* row_indices,
                                    size_t m, const double* column_indices, size_t n) {
    constexpr std::size_t most = 1024;
    std::size_t at[most];
    if (m > most) return nullptr;
    for (size_t i = 0; i < m; ++i) {
        if (!position_of(row_indices[i], rows, at[i])) return nullptr;
    }
    limit_array* const result = result_of(m * n);
    double* out = elements_of(result);
    for (size_t j = 0; j < n; ++j) {
        std::size_t column = 0;
        if (!position_of(column_indices[j], columns, column)) return refuse(result, m * n);
        const double* const from = x + column * rows;
        for (size_t i = 0; i < m; ++i) out[i] = from[at[i]];
        out += m;
    }
    return result;
}

bool limit_offset(const double* i, const double* j, size_t rows, size_t columns, size_t* offset) {
    std::size_t row = 0;
    std::size_t column = 0;
    if (!position_of(*i, rows, row) || !position_of(*j, columns, column)) return false;
    *offset = row + column * rows;
    return true;
}

limit_array* limit_element(const double* x, size_t count, const double* index) {
    std::size_t at = 0;
    if (!position_of(*index, count, at)) return nullptr;
    limit_array* const result = limit_create_raw(1, 1);
    *elements_of(result) = x[at];
    return result;
}

void limit_store(double* x, size_t index, double value) { x[index] = value; }

limit_array* limit_row_of_page(const double* x, size_t n, size_t row, size_t page) {
    limit_array* const result = result_of(n);
    double* const out = elements_of(result);
    const double* const from = x + page * n * n + row;
    for (size_t j = 0; j < n; ++j) out[j] = from[j * n];
    return result;
}

limit_array* limit_columns_of_pages(const double* x, size_t n, const double* column_indices, size_t columns) {
    limit_array* const result = result_of(n * columns * n);
    double* out = elements_of(result);
    for (size_t page = 0; page < n; ++page) {
        for (size_t j = 0; j < columns; ++j) {
            std::size_t column = 0;
            if (!position_of(column_indices[j], n, column)) return refuse(result, n * columns * n);
            const double* const from = x + (page * n + column) * n;
            for (size_t i = 0; i < n; ++i) out[i] = from[i];
            out += n;
        }
    }
    return result;
}
