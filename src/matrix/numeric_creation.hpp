// Numeric construction below the frame: which storage a new array gets.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// An array of the code's class, cached or plain. Raises the size errors before anything is allocated.
array_ptr create_numeric(dims_view dims, NdArrayTypeId code, DataInitialization init);

/// An m by n array of a class with plain elements, never cached. Raises the size errors before anything is allocated.
ndArray_tag* create_plain_matrix(std::size_t m, std::size_t n, NdArrayTypeId code, DataInitialization init);

/// An array that takes over the data of the first candidate that fits, or has a fresh block: uninitialised, or of nulls for a class
/// that holds references.
array_ptr create_with_reuse(dims_view dims, NdArrayTypeId code, std::span<ndArray_tag* const> candidates);

} // namespace matrix::internal
