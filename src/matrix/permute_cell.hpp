// Permuting the dimensions of a cell.
#pragma once

#include "matrix/dimensions.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// A cell of the given scope whose dimension i is dimension order[i] of source. order holds each number from 0 to its size - 1 once
/// and has at least as many as source has dimensions; those beyond are 1. Where no element moves the result shares the slots.
/// Raises out of memory; source and what stands in its slots are then unchanged.
array_ptr permuted_cell(const ndArray_tag* source, dims_view order, ndVariableScope scope = ndLOCAL_SCOPE);

} // namespace matrix::internal
