// The way back from a struct to a cell; the way there is public, in nd/containers.hpp.
#pragma once

#include <nd/create.hpp>

namespace matrix::internal {

/// A cell of (fields, dimensions...) over the slots of a struct or object, which both share from then on; over copies of the
/// elements when the slots are private. Raises out of memory; source is then unchanged.
array_ptr struct_to_cell(const ndArray_tag* source);

} // namespace matrix::internal
