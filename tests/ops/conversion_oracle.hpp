// The conversion of one scalar told in another way than the library does it: the C library rounds, and 128-bit integers hold what is
// compared with the limits.
#pragma once

#include <nd/types.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace test {

__extension__ using whole = __int128;

template <class To>
To nearest_limit(whole x) {
    constexpr whole lowest = std::numeric_limits<To>::min();
    constexpr whole highest = std::numeric_limits<To>::max();
    return static_cast<To>(x < lowest ? lowest : x > highest ? highest : x);
}

template <class To>
To nearest_limit(double x) {
    constexpr double beyond_all = 1e30; // within 128 bits
    return nearest_limit<To>(static_cast<whole>(std::fmax(-beyond_all, std::fmin(beyond_all, x))));
}

/// x as a scalar of the class, whose type is To. NaN isn't asked to be logical.
template <class To, class From>
To oracle(ndClassID to_class, From x) {
    if (to_class == ndLOGICAL_CLASS) return static_cast<To>(x != From(0) ? 1 : 0);
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(x);
    } else if constexpr (std::is_floating_point_v<From>) {
        if (std::isnan(x)) return 0;
        const double exact = x;
        return nearest_limit<To>(to_class == ndCHAR_CLASS ? std::trunc(exact) : std::round(exact));
    } else {
        return nearest_limit<To>(static_cast<whole>(x));
    }
}

} // namespace test
