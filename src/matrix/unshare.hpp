// Giving a header a block of its own, or keeping the block and giving the others one.
//
// All take an array whose header has one owner; a header with several owners is replaced by a copy (nd/share.hpp).
//
//   unshare, unshare_shallow    copy first, then leave the record: the bytes are held while they are copied. Who finds
//                               itself the last one after the copy throws the copy away and keeps the old block. A block
//                               that is borrowed counts as shared with who lent it.
//   the two for the others      everything that can fail is made before anything is changed
#pragma once

#include "matrix/data_copy.hpp"

#include <nd/array.hpp>

namespace matrix::internal {

/// The array's block becomes its own, with a deep copy of the elements when somebody else uses the old one. True.
/// Raises std::bad_alloc and what copying an element raises; nothing has changed then. Reports a fault when the array can
/// hold references and another thread left the record meanwhile.
bool unshare(ndArray_tag* array);

/// The same for a sparse array one of whose index vectors the caller replaces: that one isn't copied, and its word is null where the
/// others have kept the old blocks. Raises std::bad_alloc; nothing has changed then.
void unshare_for_vector(ndArray_tag* array, index_vector replaced);

/// The same for a container, with its own slots over shared elements. Another thread may not interfere at all.
bool unshare_shallow(ndArray_tag* array);

/// The array keeps its block, all other sharers move to one fresh copy of it, which they go on sharing. Only single-threaded
/// sharers can be reached: false, with nothing changed, when the record knows not all of them, and when the copy can't be
/// made, be it for memory or for what copying an element raises.
bool unshare_others(ndArray_tag* array);

/// The array keeps its block, all other sharers become empty: first dimension 0, no data. Needs no memory. False, with
/// nothing changed, when the record doesn't know all sharers.
bool unshare_and_empty_others(ndArray_tag* array);

} // namespace matrix::internal
