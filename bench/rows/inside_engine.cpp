// The rows that are judged inside the engine too: what a creator returns is a temporary there, which lists keep track of.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

namespace bench {
namespace {

constexpr conditions inside{.in_engine = true};

row zero(const char* name, shape size) {
    return {.work = "create_zero(mode1)",
            .size = name,
            .limit_name = freelist,
            .libnd = timed(create_zero{size}),
            .limit = timed(limit_of_create_zero{size}),
            .conditions = inside};
}

row raw(const char* name, shape size) {
    return {.work = "create_raw(mode1)",
            .size = name,
            .limit_name = freelist,
            .libnd = timed(create_raw{size}),
            .limit = timed(limit_of_create_raw{size}),
            .conditions = inside};
}

} // namespace

row_list inside_engine_rows() {
    constexpr shape scalar{1, 1};
    constexpr shape small{3, 4};
    return {
        zero("1x1", scalar),
        raw("1x1", scalar),
        zero("3x4", small),
        raw("3x4", small),
        {.work = "create_zero_1000_alive(mode1)",
         .size = "3x4",
         .limit_name = freelist,
         .libnd = timed(create_zero_1000_alive{small}),
         .limit = timed(limit_of_create_zero_1000_alive{small}),
         .conditions = inside},
        alive_bytes("alive_bytes(mode1)", inside),
    };
}

} // namespace bench
