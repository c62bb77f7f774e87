// Growth of left sides. All that can fail is done before the header changes: the block is the last of it.
#include "indexing/growth.hpp"

#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/resize.hpp"
#include "matrix/size_check.hpp"

#include <algorithm>

namespace matrix::internal {
namespace {

bool is_matrix(dims_view dims) noexcept { return dims.size() == 2 && dims[0] >= 2 && dims[1] >= 2; }

// Whether one subscript can only mean the one dimension that isn't 1.
bool is_lengthened_by(dims_view array_dims, std::size_t nsubs) noexcept {
    return nsubs == 1 && std::count(array_dims.begin(), array_dims.end(), std::size_t{1}) + 1 ==
                             static_cast<std::ptrdiff_t>(array_dims.size());
}

dims_view subscripted(const left_side_growth& change) noexcept {
    return change.new_seen.subspan(change.has_field_slot ? 1 : 0);
}

} // namespace

void refuse_ambiguous_growth(dims_view array_dims, dims_view reach, dims_view seen) {
    const std::size_t nsubs = seen.size();
    if (nsubs == 0 || nsubs >= array_dims.size()) return;
    const bool ambiguous =
        array_dims.size() == 2 ? is_matrix(array_dims) : !is_lengthened_by(array_dims, nsubs);
    if (ambiguous && reach[nsubs - 1] > seen[nsubs - 1])
        errors::raise_as<TARVEL::matrix::ambiguousArrayGrowth>("TARVEL:indexed_matrix_cannot_be_resized");
}

bool grow_dimensions(dims_view array_dims, dims_view reach, std::span<std::size_t> seen, bool any_growth) {
    const auto fits = [](std::size_t largest, std::size_t dim) { return largest <= dim; };
    if (std::equal(seen.begin(), seen.end(), reach.begin(),
                   [&](std::size_t dim, std::size_t largest) { return fits(largest, dim); }))
        return false;
    if (!any_growth) refuse_ambiguous_growth(array_dims, reach, seen);
    std::transform(seen.begin(), seen.end(), reach.begin(), seen.begin(),
                   [](std::size_t dim, std::size_t largest) { return std::max(dim, largest); });
    return true;
}

dims_list shape_after_growth(dims_view array_dims, dims_view seen, bool all_zero) {
    dims_list shape(array_dims.begin(), array_dims.end());
    if (seen.size() == 1) {
        const std::size_t along = all_zero || seen[0] == 1 ? 0 : orient(array_dims);
        if (along == 0)
            shape.assign({1, seen[0]});
        else
            shape[along - 1] = seen[0];
    } else if (seen.size() >= array_dims.size()) {
        shape.assign(seen.begin(), seen.end());
    } else { // the last subscript stands for several dimensions, of which none has grown
        std::copy(seen.begin(), seen.end() - 1, shape.begin());
    }
    return shape;
}

std::size_t checked_slot_count(dims_view dims) {
    checked_index_count(dims.subspan(1));
    return checked_element_count(dims, sizeof(ndArray_tag*));
}

std::size_t checked_growth(const ndArray_tag* array, const left_side_growth& change) {
    const dims_view dims = subscripted(change);
    const auto is_one = [](std::size_t dim) { return dim == 1; };
    if (array->class_id == ndFUNCTION_CLASS && !std::all_of(dims.begin(), dims.end(), is_one))
        errors::raise<TARVEL::legacy_two_part::err_non_scalar_function_handles>();
    return change.has_field_slot ? checked_slot_count(change.new_seen)
                                 : checked_element_count(change.new_seen, stored_element_size(array));
}

void grow_left_side(ndArray_tag* array, const left_side_growth& change) {
    const std::size_t new_count = checked_growth(array, change);
    const dims_list shape = shape_after_growth(dims_of(array), subscripted(change), change.all_zero);
    prepared_dims dims({shape.data(), shape.size()}, array);
    grow_data(array, {change.old_seen, saturated_count(change.old_seen), change.new_seen, new_count,
                      change.keep, change.filler});
    dims.commit_to(array);
    array->flags &= ~flag_empty_square_bracket;
}

} // namespace matrix::internal
