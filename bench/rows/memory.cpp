// Resident bytes: of large arrays that nobody has written to, and of live small ones.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

namespace bench {
namespace {

constexpr shape small{3, 4};
constexpr std::size_t large_alive = 512;
constexpr std::size_t small_alive = 100000;
constexpr double least_bytes_of_small = 112 + 12 * sizeof(double);
constexpr double page = 4096; // the one that holds what the heap notes about the block

meter constant(double figure) {
    return [figure](std::size_t repetitions) { return figure * static_cast<double>(repetitions); };
}

ndArray_tag* zero_million() { return ndCreateDoubleMatrix(million.m, million.n, ndREAL); }
ndArray_tag* raw_million() { return ndCreateUninitDoubleMatrix(0, million.m, million.n); }

} // namespace

row alive_bytes(const char* work, conditions conditions) {
    return {.work = work,
            .size = "3x4",
            .limit_name = "header and elements",
            .libnd = resident([] { return ndCreateDoubleMatrix(small.m, small.n, ndREAL); }),
            .limit = constant(least_bytes_of_small),
            .unit = unit::bytes,
            .repetitions = small_alive,
            .conditions = conditions};
}

row_list memory_rows() {
    return {
        {.work = "create_zero_resident",
         .size = "1e6",
         .limit_name = "one page",
         .libnd = resident(zero_million),
         .limit = constant(page),
         .unit = unit::bytes,
         .repetitions = large_alive},
        {.work = "create_raw_resident",
         .size = "1e6",
         .limit_name = "one page",
         .libnd = resident(raw_million),
         .limit = constant(page),
         .unit = unit::bytes,
         .repetitions = large_alive},
        alive_bytes("alive_bytes", {}),
    };
}

} // namespace bench
