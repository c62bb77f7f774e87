// From a cell to a struct and back, for a result of any scope: once it shares slots or elements, nothing can fail any more.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// matrix::cell_to_struct. Raises as that and what the array list raises; the cell and what stands in its slots are then unchanged.
array_ptr struct_from_cell(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim,
                           ndVariableScope scope);

/// A cell of (fields, dimensions...) over the slots of a struct or object, which both share from then on; over copies of the
/// elements when the slots are private. Raises out of memory and what the array list raises; source is then unchanged.
array_ptr struct_to_cell(const ndArray_tag* source, ndVariableScope scope = ndLOCAL_SCOPE);

} // namespace matrix::internal
