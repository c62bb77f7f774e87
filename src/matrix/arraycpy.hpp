// Copies of arrays: the header copy that every copy begins with, and the copies that others build on.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix::internal {

/// A new header with source's class, dimensions, class-dependent words and the flags that survive a copy; one owner, local
/// scope, no data. The class of an indexing-opaque source with data has been told of one header more, so the copy must get
/// the same data. Raises std::bad_alloc and what the collection list raises.
array_ptr copy_header(const ndArray_tag* source);

/// matrix::detail::do_shared_copy into a header of the given scope: all that can fail comes before source is touched. source
/// isn't null and its data may be shared. Raises std::bad_alloc and what the array list raises; source is then unchanged.
array_ptr share(const ndArray_tag* source, ndVariableScope scope);

/// Makes a header without data the sharer of source's data, if it has any that a record counts. The header's class is source's
/// or lays them out alike. Raises std::bad_alloc; source is then unchanged and the header still without data.
void share_block(const ndArray_tag* source, ndArray_tag* copy);

/// A shared copy of the given scope where sharing is allowed, a deep one of data that are private to the source. Raises as share();
/// source is then unchanged.
array_ptr share_or_copy(const ndArray_tag* source, ndVariableScope scope = ndLOCAL_SCOPE);

/// A container of the given scope with slots of its own over shared elements. Raises as share(); source and what stands in its slots
/// are then unchanged.
array_ptr shallow_copy(const ndArray_tag* source, ndVariableScope scope = ndLOCAL_SCOPE);

} // namespace matrix::internal
