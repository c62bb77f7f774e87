// Ranges of doubles, with the result's end: whole ones, and tenths, which are rounded.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "limits/limits.h"

#include <nd/colon.hpp>
#include <nd/create.hpp>

namespace bench {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

struct length {
    const char* name;
    std::size_t count;
};

constexpr length lengths[] = {{"10", 10}, {"1000", 1000}, {"1e6", 1000000}};

row range(const char* work, double start, double step, const length& size) {
    const double stop = start + static_cast<double>(size.count - 1) * step;
    const limit_range limit = limit_range_of(size.count);
    const std::size_t bytes = size.count * sizeof(double);
    return {.work = work,
            .size = size.name,
            .limit_name = limit.name,
            .libnd = timed([=] { api::ndDestroyArray(api::ndColonop(start, step, stop, ndDOUBLE_CLASS)); }),
            .limit = timed([=] { limit_destroy_result(limit.make(start, step, stop), bytes); }),
            .group = "colon"};
}

} // namespace

row_list range_rows() {
    row_list rows;
    if (!__builtin_cpu_supports("avx2")) return rows; // the limits are AVX2 code
    for (const length& size : lengths) {
        rows.push_back(range("colon_1_n", 1, 1, size));
        rows.push_back(range("colon_0_0.1_n", 0, 0.1, size));
    }
    return rows;
}

} // namespace bench
