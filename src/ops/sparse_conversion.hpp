// What conversion asks of sparse storage: the one place where it does.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// A sparse array of another class with the same pattern of stored elements; target has scalars. Null when there is no such
/// conversion. Raises TARVEL:legacy_two_part:unimplementedSparseType for a class without sparse form: all but logical, double and,
/// while the feature SingleSparse is on, single.
array_ptr convert_sparse_class(const ndArray_tag* sparse, ndClassID target);

/// A full array of the same value; null where the class has none, and the array stands as it is then.
array_ptr full_from_sparse(const ndArray_tag* sparse);

/// A sparse array of the same value; null where the class has none, and the array stands as it is then. Nothing is raised for the
/// class: who must have a sparse array looks at what came back.
array_ptr sparse_from_full(const ndArray_tag* full);

} // namespace matrix::internal
