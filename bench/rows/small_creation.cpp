// Creating and destroying arrays that the cache can hold, in the plain library; with the cache on but for the row that says
// otherwise.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

namespace bench {
namespace {

constexpr shape scalar{1, 1};
constexpr shape small{3, 4};
constexpr shape thousand{1000, 1};

row zero(const char* name, shape size) {
    return {.work = "create_zero",
            .size = name,
            .limit_name = freelist,
            .libnd = timed(create_zero{size}),
            .limit = timed(limit_of_create_zero{size})};
}

row raw(const char* name, shape size) {
    return {.work = "create_raw",
            .size = name,
            .limit_name = freelist,
            .libnd = timed(create_raw{size}),
            .limit = timed(limit_of_create_raw{size})};
}

} // namespace

row_list small_creation_rows() {
    return {
        zero("1x1", scalar),
        raw("1x1", scalar),
        zero("3x4", small),
        raw("3x4", small),
        zero("1000", thousand),
        raw("1000", thousand),
        {.work = "create_zero_uncached",
         .size = "3x4",
         .limit_name = "header+data allocated",
         .libnd = timed(create_zero{small}),
         .limit = timed([] { limit_release_two(limit_allocate_two(small.m, small.n)); }),
         .conditions = {.cache = false}},
        {.work = "create_zero_1000_alive",
         .size = "3x4",
         .limit_name = freelist,
         .libnd = timed(create_zero_1000_alive{small}),
         .limit = timed(limit_of_create_zero_1000_alive{small})},
    };
}

} // namespace bench
