// How an operation with several subscripts sees an array: through as many dimensions as there are subscripts.
//
//   fewer than the array has   the last one stands for itself and all that follow
//   more                       those behind are 1
//
// And which dimension of a vector is the one along which it lies.
#pragma once

#include "indexing/index_info.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/size_check.hpp"

#include <algorithm>
#include <cstddef>

namespace matrix::internal {

using dims_list = Korvane::engine::slot_list<std::size_t>;

/// The product of dimensions, and the largest number where that overflows.
inline std::size_t saturated_count(dims_view dims) noexcept {
    std::size_t count = 1;
    for (const std::size_t dim : dims) count = saturated_product(count, dim);
    return count;
}

/// Dimension number position, counted from 0, of nsubs through which the array is seen; position is below nsubs.
inline std::size_t folded_dimension(dims_view dims, std::size_t nsubs, std::size_t position) noexcept {
    if (position >= dims.size()) return 1;
    return position + 1 == nsubs ? saturated_count(dims.subspan(position)) : dims[position];
}

/// All of them. Raises std::bad_alloc, for more than ten.
inline dims_list folded_dimensions(dims_view dims, std::size_t nsubs) {
    dims_list folded(nsubs);
    for (std::size_t i = 0; i < nsubs; ++i) folded[i] = folded_dimension(dims, nsubs, i);
    return folded;
}

/// The only dimension that isn't 1, counted from 1; 0 for a scalar and for a matrix. A dimension of 0 isn't 1: 1x0 lies along its
/// second.
inline std::size_t orient(dims_view dims) noexcept {
    std::size_t found = 0;
    for (std::size_t i = 0; i < dims.size(); ++i) {
        if (dims[i] == 1) continue;
        if (found != 0) return 0;
        found = i + 1;
    }
    return found;
}

} // namespace matrix::internal
