// Between full and sparse storage, and between the classes that have both.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// Whether arrays of the class are made sparse: logical, double and, while the feature SingleSparse is on, single.
bool has_sparse_form(ndClassID class_id) noexcept;

/// A sparse array of another class with the same pattern of stored elements; target has scalars. Values that become zero stay
/// stored. Raises TARVEL:legacy_two_part:unimplementedSparseType for a class without sparse form, and as conversion and
/// creation do.
array_ptr convert_sparse_class(const ndArray_tag* sparse, ndClassID target);

/// A full array of the same value; null where sparse has a class that isn't stored sparse. Raises as a creator does.
array_ptr full_from_sparse(const ndArray_tag* sparse);

/// A sparse array of the same value and complexity, in which columns take the place of all dimensions after the first. Raises
/// TARVEL:legacy_two_part:unimplementedSparseType for a class without sparse form, and as a creator does.
array_ptr sparse_from_full(const ndArray_tag* full);

/// The array's value in the other storage; null when it is in the one asked for, or when there is no other.
array_ptr made_full(const ndArray_tag* array);
array_ptr made_sparse(const ndArray_tag* array);

} // namespace matrix::internal
