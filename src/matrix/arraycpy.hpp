// Copies of arrays: the header copy that every copy begins with.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix::internal {

/// A new header with source's class, dimensions and the flags that survive a copy, one owner, local scope and no data.
/// Raises std::bad_alloc.
array_ptr copy_header(const ndArray_tag* source);

} // namespace matrix::internal
