// The shape rule of one subscript.
#include "indexing/reference_shape.hpp"

#include "indexing/subscript_value.hpp"
#include "matrix/colon_layout.hpp"

#include <nd/scalars.hpp>

#include <algorithm>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

// count elements along dimension number k, counted from 1, of so many.
dims_list along(std::size_t k, std::size_t ndims, std::size_t count) {
    dims_list dims(std::max<std::size_t>({k, ndims, 2}), 1);
    dims[k - 1] = count;
    return dims;
}

dims_list logical_dims(dims_view source, dims_view subscript, std::size_t count) {
    const bool is_scalar_or_nothing =
        subscript.size() == 2 && subscript[0] == subscript[1] && subscript[0] <= 1;
    if (count == 0 && is_scalar_or_nothing) return dims_list(2, 0);
    const std::size_t own = orient(source);
    const std::size_t k = own != 0 ? own : orient(subscript);
    return along(k == 0 ? 1 : k, 2, count);
}

} // namespace

dims_list linear_reference_dims(dims_view source, std::size_t source_count, const ndArray_tag* subscript,
                                std::size_t count) {
    if (api::ndIsColonIndex(subscript)) return along(1, 2, source_count);
    const std::size_t k = orient(source);
    if (is_colon_object(subscript)) return k == 0 ? along(2, 2, count) : along(k, source.size(), count);
    const dims_view dims = dims_of(subscript);
    if (subscript->class_id == ndLOGICAL_CLASS) return logical_dims(source, dims, count);
    if (!has_index_values(subscript->class_id)) return dims_list(2, 0);
    if (k != 0 && orient(dims) != 0) return along(k, source.size(), count);
    return dims_list(dims.begin(), dims.end());
}

} // namespace matrix::internal
