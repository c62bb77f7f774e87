// A subscript that stands for one index, as the routines for single slots take it. Element counts aren't looked at.
//
//   the colon        1
//   a colon object   its first value
//   logical          the place of the first true element
//   numeric, char    the first element; of a sparse one that in the first row and column, which must be stored
//
// A logical array without a true element, and a full array without elements, give 0.
#pragma once

#include "indexing/index_limit.hpp"

#include <nd/array.hpp>
#include <nd/subscripts.hpp>

#include <cstdint>

namespace matrix::internal {

/// The index, counted from 1. Raises what <nd/subscripts.hpp> tells, also for a class that has no values.
kvIndex scalar_index_slowly(const ndArray_tag* subscript,
                            const Korvane::indexing::utilities::BadSubscriptHandler& handler);

/// The index of a subscript that is one plain double, as most of them are; 0 for any other, and for a double that is no index.
[[gnu::always_inline]] inline kvIndex plain_scalar_index(const ndArray_tag* subscript) noexcept {
    constexpr std::uint32_t tested = flag_scalar_double | flag_complex;
    if ((subscript->flags & tested) != flag_scalar_double ||
        (subscript->share_record != nullptr && subscript->share_record->scData != nullptr) ||
        subscript->pdata == nullptr) [[unlikely]]
        return 0;
    const double value = *static_cast<const double*>(subscript->pdata);
    if (!(value >= 1 && value < beyond_indices)) [[unlikely]]
        return 0;
    const auto index = static_cast<std::int64_t>(value);
    return static_cast<double>(index) == value ? static_cast<kvIndex>(index) : 0;
}

/// The same as the slow one; handler_for() makes the handler where it is needed.
template <class HandlerFor>
[[gnu::always_inline]] inline kvIndex scalar_index(const ndArray_tag* subscript, HandlerFor&& handler_for) {
    if (const kvIndex index = plain_scalar_index(subscript); index != 0) [[likely]]
        return index;
    return scalar_index_slowly(subscript, handler_for());
}

} // namespace matrix::internal
