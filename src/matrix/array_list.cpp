// The array list while the facility is off: nothing is a temporary, so nothing has to be taken off.
#include "matrix/array_list.hpp"

namespace matrix::internal {

bool add_to_array_list(ndArray_tag* /*array*/) { return false; }

void remove_from_array_list(ndArray_tag* /*array*/) noexcept {}

} // namespace matrix::internal
