// Parts of double arrays by subscripts as new arrays, with their end.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <nd/colon.hpp>
#include <nd/reference.hpp>
#include <nd/scalars.hpp>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace bench {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using array = std::shared_ptr<ndArray_tag>;

constexpr std::size_t cube = 100; // elements along each dimension

array owned(ndArray_tag* given) { return {given, ndDestroyArray}; }

double* elements_of(const array& a) { return static_cast<double*>(a->pdata); }

array numbered(std::size_t m, std::size_t n) {
    array made = owned(ndCreateDoubleMatrix(m, n, ndREAL));
    std::iota(elements_of(made), elements_of(made) + m * n, 1.0);
    return made;
}

array row_of(const std::vector<double>& elements) {
    array made = owned(ndCreateDoubleMatrix(1, elements.size(), ndREAL));
    std::copy(elements.begin(), elements.end(), elements_of(made));
    return made;
}

// Indices of count elements in random order, from 1 on.
std::vector<double> random_indices(std::size_t count) {
    std::mt19937_64 random(1);
    std::vector<double> indices(count);
    for (double& index : indices) index = static_cast<double>(random() % count + 1);
    return indices;
}

array as_int64(const std::vector<double>& indices) {
    array made = owned(api::ndCreateNumericMatrix(1, indices.size(), ndINT64_CLASS, ndREAL));
    std::transform(indices.begin(), indices.end(), static_cast<std::int64_t*>(made->pdata),
                   [](double index) { return static_cast<std::int64_t>(index); });
    return made;
}

array range_of(std::size_t first, std::size_t step, std::size_t last) {
    return owned(api::ndCreateColonObj(static_cast<double>(first), static_cast<double>(step),
                                       static_cast<double>(last)));
}

array colon() { return owned(api::ndCreateColonIndex()); }

// x(subs...) and the end of the result.
meter reference_of(const array& x, const std::vector<array>& subs) {
    std::vector<const ndArray_tag*> pointers;
    for (const array& sub : subs) pointers.push_back(sub.get());
    return timed([x, subs, pointers] {
        api::ndDestroyArray(api::ndSubscriptedReference(x.get(), pointers.size(), pointers.data()));
    });
}

template <class Limit>
meter limit_of(Limit limit, std::size_t count) {
    return timed([limit, count] { limit_destroy_result(limit(), count * sizeof(double)); });
}

void add_vector_rows(row_list& rows, const char* size, std::size_t n) {
    const array x = numbered(1, n);
    const std::vector<double> indices = random_indices(n);
    const array doubles = row_of(indices);
    const array integers = as_int64(indices);
    const double* const from = elements_of(x);
    const limit_by_subscripts best = limit_by_subscripts_of(n);
    rows.push_back(
        {.work = "gather_int64",
         .size = size,
         .limit_name = best.gather_int64.name,
         .libnd = reference_of(x, {integers}),
         .limit = limit_of(
             [=] { return best.gather_int64.run(from, n, static_cast<std::int64_t*>(integers->pdata), n); },
             n),
         .group = "reference"});
    rows.push_back(
        {.work = "gather_double",
         .size = size,
         .limit_name = best.gather_double.name,
         .libnd = reference_of(x, {doubles}),
         .limit = limit_of([=] { return best.gather_double.run(from, n, elements_of(doubles), n); }, n),
         .group = "reference"});
    const array mask = owned(api::ndCreateLogicalMatrix(1, n));
    bool* const truth = static_cast<bool*>(mask->pdata);
    for (std::size_t i = 0; i < n; ++i) truth[i] = static_cast<std::size_t>(indices[i]) % 2 == 0;
    const auto chosen = static_cast<std::size_t>(std::count(truth, truth + n, true));
    rows.push_back(
        {.work = "mask50",
         .size = size,
         .limit_name = best.select.name,
         .libnd = reference_of(x, {mask}),
         .limit =
             limit_of([=] { return best.select.run(from, static_cast<bool*>(mask->pdata), n); }, chosen + 4),
         .group = "reference"});
    rows.push_back({.work = "range_1_2_end",
                    .size = size,
                    .limit_name = best.every_second.name,
                    .libnd = reference_of(x, {range_of(1, 2, n)}),
                    .limit = limit_of([=] { return best.every_second.run(from, n); }, (n + 1) / 2),
                    .group = "reference"});
    const std::size_t first = n / 4;
    rows.push_back({.work = "range_contiguous_half",
                    .size = size,
                    .limit_name = "memcpy",
                    .libnd = reference_of(x, {range_of(first + 1, 1, first + n / 2)}),
                    .limit = limit_of([=] { return limit_run(elements_of(x), first, n / 2); }, n / 2),
                    .group = "reference"});
}

// The inner four fifths of a square matrix: as ranges, and as vectors of indices.
void add_block_rows(row_list& rows, std::size_t n) {
    const std::size_t part = n / 10 * 8;
    const std::size_t first = n / 10;
    const std::string size = std::to_string(n) + "x" + std::to_string(n) + "->" + std::to_string(part) + "x" +
                             std::to_string(part);
    const array x = numbered(n, n);
    const array range = range_of(first + 1, 1, first + part);
    rows.push_back({.work = "block2d",
                    .size = size,
                    .limit_name = "memcpy-per-column",
                    .libnd = reference_of(x, {range, range}),
                    .limit = limit_of(
                        [=] {
                            return limit_block(elements_of(x), n, {first, part, first, part});
                        },
                        part * part),
                    .group = "reference"});
    std::vector<double> indices(part);
    std::iota(indices.begin(), indices.end(), static_cast<double>(first + 1));
    std::shuffle(indices.begin(), indices.end(), std::mt19937_64(1));
    const array vector = row_of(indices);
    rows.push_back({.work = "block2d_index_vectors",
                    .size = size,
                    .limit_name = "C-gather-per-column",
                    .libnd = reference_of(x, {vector, vector}),
                    .limit = limit_of(
                        [=] {
                            const double* const list = elements_of(vector);
                            return limit_block_by_indices(elements_of(x), n, n, list, part, list, part);
                        },
                        part * part),
                    .group = "reference"});
}

void add_scalar_rows(row_list& rows) {
    constexpr std::size_t n = 100;
    const array x = numbered(n, n);
    const array i = owned(ndCreateDoubleScalar(37));
    const array j = owned(ndCreateDoubleScalar(53));
    const auto sum = std::make_shared<double>(0);
    rows.push_back({.work = "scalar_read",
                    .size = "per-element",
                    .limit_name = "shared-library-call,checked",
                    .libnd = timed([x, i, j, to = sum.get(), sum] {
                        const ndArray_tag* const subs[] = {i.get(), j.get()};
                        kvIndex offset = 0;
                        if (api::ndScalarRefConst(&offset, x.get(), 2, subs, 0) == ndSCALAR_REF_IN_RANGE)
                            *to += elements_of(x)[offset];
                    }),
                    .limit = timed([x, i, j, to = sum.get(), sum] {
                        std::size_t offset = 0;
                        if (limit_offset(elements_of(i), elements_of(j), n, n, &offset))
                            *to += elements_of(x)[offset];
                    }),
                    .group = "reference"});
    rows.push_back(
        {.work = "scalar_read_as_array",
         .size = "per-element",
         .limit_name = freelist,
         .libnd = reference_of(x, {i}),
         .limit = timed([x, i] { limit_destroy(limit_element(elements_of(x), n * n, elements_of(i))); }),
         .group = "reference"});
}

// One row of a page, a page, and columns of all pages.
void add_walks(row_list& rows) {
    const std::size_t dims[] = {cube, cube, cube};
    const array x = owned(api::ndCreateNumericArray(3, dims, ndDOUBLE_CLASS, ndREAL));
    std::iota(elements_of(x), elements_of(x) + cube * cube * cube, 1.0);
    const array third = owned(ndCreateDoubleScalar(3));
    const array fifth = owned(ndCreateDoubleScalar(5));
    const array second = owned(ndCreateDoubleScalar(2));
    const array columns = row_of({3, 1, 2});
    rows.push_back({.work = "walk(3,:,5)",
                    .size = "100x100x100",
                    .limit_name = "loop-nest",
                    .libnd = reference_of(x, {third, colon(), fifth}),
                    .limit = limit_of([=] { return limit_row_of_page(elements_of(x), cube, 2, 4); }, cube),
                    .group = "reference"});
    rows.push_back(
        {.work = "walk(:,:,2)",
         .size = "100x100x100",
         .limit_name = "memcpy",
         .libnd = reference_of(x, {colon(), colon(), second}),
         .limit = limit_of([=] { return limit_run(elements_of(x), cube * cube, cube * cube); }, cube * cube),
         .group = "reference"});
    rows.push_back({.work = "walk(:,[3 1 2],:)",
                    .size = "100x100x100",
                    .limit_name = "loop-nest",
                    .libnd = reference_of(x, {colon(), columns, colon()}),
                    .limit = limit_of(
                        [=] { return limit_columns_of_pages(elements_of(x), cube, elements_of(columns), 3); },
                        3 * cube * cube),
                    .group = "reference"});
}

} // namespace

row_list reference_rows() {
    row_list rows;
    add_vector_rows(rows, "10", 10);
    add_vector_rows(rows, "1000", 1000);
    add_vector_rows(rows, "1e6", 1000000);
    for (const std::size_t n : {10, 100, 1000}) add_block_rows(rows, n);
    add_scalar_rows(rows);
    add_walks(rows);
    return rows;
}

} // namespace bench
