// The shape rule of one subscript, for any number of dimensions.
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

} // namespace

dims_list linear_reference_dims(dims_view source, std::size_t source_count, const ndArray_tag* subscript,
                                std::size_t count) {
    if (api::ndIsColonIndex(subscript)) return along(1, 2, source_count);
    const std::size_t line = orient(source);
    const std::size_t ndims = line == 0 ? 2 : source.size();
    if (is_colon_object(subscript)) return along(line_of_range(line), ndims, count);
    const dims_view dims = dims_of(subscript);
    if (subscript->class_id == ndLOGICAL_CLASS) {
        if (selects_no_line(dims, count)) return dims_list(2, 0);
        return along(line_of_mask(line, orient(dims)), 2, count);
    }
    if (!has_index_values(subscript->class_id)) return dims_list(2, 0);
    if (const std::size_t k = line_of_list(line, orient(dims)); k != 0) return along(k, ndims, count);
    return dims_list(dims.begin(), dims.end());
}

} // namespace matrix::internal
