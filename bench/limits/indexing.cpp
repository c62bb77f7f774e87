// Parts of arrays by subscripts, in and out: each index is checked, the result is a new array (results.hpp), and the loop is the quickest
// for so many.
//
//   few elements   loops in C
//   many           intrinsics, for AVX-512 where the processor has it, else for AVX2, which the whole file is compiled for
//
// Indices count from 1. A creator answers null, and nothing more is stored, at the first one that is no whole number from 1 on or
// beyond the end.
#include "indexing_512.hpp"
#include "indexing_avx2.hpp"

#include <algorithm>
#include <cstring>

namespace {

using limits::elements_of;
using limits::position_of;
using limits::refuse;
using limits::result_of;

constexpr std::size_t few = 64;
constexpr std::size_t large = 100000; // beyond the caches next to the core

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

limit_array* select_by_c(const double* x, const bool* mask, std::size_t n) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < n; ++i) count += mask[i] ? 1 : 0;
    limit_array* const result = result_of(count + 4); // one is stored behind the last
    double* const out = elements_of(result);
    std::size_t k = 0;
    for (std::size_t i = 0; i < n; ++i) {
        out[k] = x[i];
        k += mask[i] ? 1 : 0;
    }
    return result;
}

limit_array* every_second_by_c(const double* x, std::size_t n) noexcept {
    const std::size_t count = (n + 1) / 2;
    limit_array* const result = result_of(count);
    double* const out = elements_of(result);
    for (std::size_t i = 0; i < count; ++i) out[i] = x[2 * i];
    return result;
}

void fill_by_standard(double* to, double value, std::size_t n) noexcept { std::fill_n(to, n, value); }

// The indices of a scatter are so many that vectors pay.
limit_by_subscripts best_of_avx2(std::size_t n) noexcept {
    namespace loops = limits::by_avx2;
    limit_by_subscripts best = {
        {loops::gather<std::int64_t>, "checked-avx2"},
        {loops::gather<double>, "checked-avx2"},
        {loops::select, "avx2-permute"},
        {loops::every_second, "avx2"},
        {loops::scatter<std::int64_t>, "checked-avx2"},
        {loops::scatter<double>, "checked-avx2"},
        {loops::fill, "avx2"},
    };
    if (n <= few) best.gather_double = {gather_by_c<double>, "checked-C"};
    return best;
}

limit_by_subscripts best_of_512(std::size_t n) noexcept {
    namespace loops = limits::by_512;
    limit_by_subscripts best = {
        {loops::gather<std::int64_t>, "checked-avx512-gather"},
        {loops::gather<double>, "checked-avx512-gather"},
        {loops::select, "avx512-compress"},
        {loops::every_second, "avx512"},
        {loops::scatter<std::int64_t>, "checked-avx512"},
        {loops::scatter<double>, "checked-avx512"},
        {loops::fill, "avx512"},
    };
    if (n < large) best.gather_int64 = {limits::by_avx2::gather<std::int64_t>, "checked-avx2"};
    return best;
}

} // namespace

limit_by_subscripts limit_by_subscripts_of(size_t n) {
    limit_by_subscripts best = __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw")
                                   ? best_of_512(n)
                                   : best_of_avx2(n);
    if (n <= few) {
        best.gather_int64 = {gather_by_c<std::int64_t>, "checked-C"};
        best.select = {select_by_c, "C-branchless"};
        best.every_second = {every_second_by_c, "scalar-C"};
    }
    if (n >= large) best.fill = {fill_by_standard, "std::fill"};
    return best;
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
