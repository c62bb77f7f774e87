// What conversion asks of sparse storage: the one place where it does.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// A sparse array of another class with the same pattern of stored elements. Null when there is no such conversion.
array_ptr convert_sparse_class(const ndArray_tag* sparse, ndClassID target);

/// A full array of the same value, or null when the class has none.
array_ptr full_from_sparse(const ndArray_tag* sparse);

/// A sparse array of the same value, or null when the class has none.
array_ptr sparse_from_full(const ndArray_tag* full);

} // namespace matrix::internal
