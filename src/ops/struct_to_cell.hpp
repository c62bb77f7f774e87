// Structs and objects as cells.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// A cell with the elements of a struct or object: the fields are its first dimension. The two share their slots; a struct whose
/// data may not be shared is copied deeply. Raises std::bad_alloc; the struct is then unchanged.
array_ptr struct_to_cell(const ndArray_tag* source);

} // namespace matrix::internal
