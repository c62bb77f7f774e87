// The works that several groups of rows measure, each as a callable object beside its limit program.
#pragma once

#include "limits/limits.h"

#include <nd/nd.h>

#include <array>
#include <cstddef>

namespace bench {

struct shape {
    std::size_t m;
    std::size_t n;
};

inline constexpr shape million{1000000, 1};
inline constexpr std::size_t bytes_of_million = 1000000 * sizeof(double);

struct create_zero {
    shape size;
    void operator()() const { ndDestroyArray(ndCreateDoubleMatrix(size.m, size.n, ndREAL)); }
};
struct limit_of_create_zero {
    shape size;
    void operator()() const { limit_destroy(limit_create_zero(size.m, size.n)); }
};

struct create_raw {
    shape size;
    void operator()() const { ndDestroyArray(ndCreateUninitDoubleMatrix(0, size.m, size.n)); }
};
struct limit_of_create_raw {
    shape size;
    void operator()() const { limit_destroy(limit_create_raw(size.m, size.n)); }
};

// Count arrays are made before the first of them ends.
template <std::size_t Count, class Array, class Create, class Destroy>
void alive_together(Create create, Destroy destroy) {
    std::array<Array*, Count> alive;
    for (Array*& array : alive) array = create();
    for (Array* const array : alive) destroy(array);
}

struct create_zero_1000_alive {
    shape size;
    void operator()() const {
        alive_together<1000, ndArray_tag>([this] { return ndCreateDoubleMatrix(size.m, size.n, ndREAL); },
                                          ndDestroyArray);
    }
};
struct limit_of_create_zero_1000_alive {
    shape size;
    void operator()() const {
        alive_together<1000, limit_array>([this] { return limit_create_zero(size.m, size.n); },
                                          limit_destroy);
    }
};

inline constexpr const char* freelist = "freelist-hdr+data";

} // namespace bench
