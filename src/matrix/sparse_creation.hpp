// Construction of sparse arrays below the frame.
#pragma once

#include "matrix/class_table.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Raises TARVEL:legacy_two_part:unimplementedSparseType.
[[gnu::noinline, gnu::cold, noreturn]] void raise_no_sparse_form();

/// An m by n sparse array that stores nothing and has room for nzmax values, or for one. Column starts are zeroed whatever init
/// says. A logical array is real. Raises the size errors, and TARVEL:legacy_two_part:unimplementedSparseType for a class without
/// sparse form, before anything is allocated.
array_ptr create_sparse(std::size_t m, std::size_t n, std::size_t nzmax, NdArrayTypeId code,
                        DataInitialization init);

} // namespace matrix::internal
