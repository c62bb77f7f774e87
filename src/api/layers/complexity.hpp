// Real to complex and back at the exported interface: only for an array whose caller is the only one who could notice.
#pragma once

#include <nd/array.hpp>

namespace matrix::detail::noninlined::entry_points {

/// 1 when the array is complex (or real) now; 0 for null, for an array that isn't numeric, that others hold or whose data others
/// use or own, and for lack of memory where errors aren't exceptions.
int ndMakeArrayComplex(ndArray_tag* array);
int ndMakeArrayReal(ndArray_tag* array);

} // namespace matrix::detail::noninlined::entry_points
