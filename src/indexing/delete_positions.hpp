// The elements of a deletion: those that stay close up in a new block, those that go are released.
#pragma once

#include "indexing/keep_list.hpp"
#include "matrix/dimensions.hpp"

namespace matrix::internal {

/// The positions of one dimension that stay. The elements lie as outer passes of it, at each position inner of them.
/// The caller has expanded what isn't stored element by element.
struct deletion {
    const keep_list& keep;
    std::size_t inner; ///< elements of one position that lie together
    std::size_t outer; ///< how many times the dimension is passed
    dims_view shape;   ///< of what is left
};

/// Takes the positions out, at least one, and leaves at least one. Raises out of memory, TARVEL:nomem and
/// what else copying the elements of a class does that counts its copies; nothing has changed then.
void delete_positions(ndArray_tag* array, const deletion& what);

/// Takes all elements out; the array is real afterwards. shape has a dimension of 0. Raises out of memory; nothing has changed
/// then.
void delete_everything(ndArray_tag* array, dims_view shape);

} // namespace matrix::internal
