// Subscripts converted one by one: the colon and a single double cost nothing, a colon object stays a range where it
// may, all others become lists.
#include "indexing/scalar_index.hpp"
#include "indexing/subscript_lists.hpp"

#include "matrix/colon_layout.hpp"

#include <nd/scalars.hpp>

#include <utility>

namespace matrix::internal {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;

void FillSubscriptSlot(SubscriptSet& set, std::size_t slot, const ndArray_tag* const* subscript, kvSize dim,
                       const BadSubscriptHandler& handler) {
    const ndArray_tag* const array = *subscript;
    const std::size_t place = set.start + slot;
    if (const kvIndex index = set.useRanges ? plain_scalar_index(array) : 0; index != 0)
        return set.put_position(place, index - 1);
    if (api::ndIsColonIndex(array)) return set.put_colon(place, dim);
    if (is_colon_object(array)) return fill_with_range(set, place, array, handler);
    index_list list = array->class_id == ndLOGICAL_CLASS ? logical_positions(array, handler)
                                                         : numeric_positions(array, handler);
    if (list.count == 0) return set.put_nothing(place);
    set.put_list(place, std::move(list.positions), list.count, list.max);
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;
using Korvane::engine::IndexFlag;

int ndConvertToIndex(const ndArray_tag* const* subscript, kvSize dim, kvSize* count, kvSize* maxIndex,
                     kvIndex** indices, const Korvane::indexing::utilities::BadSubscriptHandler& handler) {
    SubscriptSet set(1, false, false);
    FillSubscriptSlot(set, 0, subscript, dim, handler);
    *count = set.info.NumIndices(0);
    *maxIndex = set.info.MaxIndex(0);
    *indices = std::exchange(set.indices[0], nullptr);
    const IndexFlag flag = set.info.GetIndexFlag(0);
    return static_cast<int>(flag == IndexFlag::colon_of_zero ? IndexFlag::colon : flag);
}

} // namespace matrix::detail::noninlined::nd_array_api
