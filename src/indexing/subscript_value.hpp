// One value as an index: the rule that every conversion of subscripts follows.
#pragma once

#include "indexing/index_limit.hpp"
#include "matrix/class_table.hpp"
#include "matrix/size_check.hpp"

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace matrix::internal {

static_assert(index_limit == address_ceiling);

/// Classes whose values are indices: char and numbers. Of a logical array the true places are.
constexpr bool has_index_values(std::int32_t class_id) noexcept {
    return class_id == ndCHAR_CLASS || is_numeric(code_of(class_id, false));
}

enum class index_verdict : std::uint8_t {
    valid,    ///< a whole number from 1 to index_limit
    invalid,  ///< no index at all: zero, negative, with a fraction, infinite, NaN
    too_large ///< a whole number above index_limit
};

template <class T>
index_verdict judge_index(T value) noexcept {
    if (!(value >= 1)) return index_verdict::invalid;
    if constexpr (std::is_floating_point_v<T>) {
        const auto x = static_cast<double>(value);
        if (std::trunc(x) != x || std::isinf(x)) return index_verdict::invalid;
        return x <= static_cast<double>(index_limit) ? index_verdict::valid : index_verdict::too_large;
    } else {
        return static_cast<std::uint64_t>(value) <= index_limit ? index_verdict::valid
                                                                : index_verdict::too_large;
    }
}

} // namespace matrix::internal
