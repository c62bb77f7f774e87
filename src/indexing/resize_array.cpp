// Other dimensions for an array, whose elements keep their positions.
//
//   grows in some dimensions, shrinks in none   as the left side of an assignment does, with room to spare
//   any other change                            an exact block, into which the elements move that both shapes have
//
// A shape with one dimension that isn't 1 takes the elements in their order.
#include "indexing/growth.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/field_names.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/size_check.hpp"

#include <errors/raise.hpp>

#include <nd/assignment.hpp>

#include <algorithm>
#include <cstring>
#include <functional>

namespace matrix::internal {
namespace {

dims_view as_view(const dims_list& dims) noexcept { return {dims.data(), dims.size()}; }

bool shrinks_somewhere(dims_view old_dims, dims_view new_dims) noexcept {
    return !std::equal(old_dims.begin(), old_dims.end(), new_dims.begin(), std::less_equal<>());
}

// Moves what both shapes have into a zeroed block and leaves zeros behind.
void move_common(std::byte* from, dims_view old_dims, std::byte* to, dims_view new_dims,
                 std::size_t width) noexcept {
    const std::size_t run = std::min(old_dims[0], new_dims[0]) * width;
    std::size_t old_columns = 1;
    for (const std::size_t dim : old_dims.subspan(1)) old_columns *= dim;
    for (std::size_t column = 0; column < old_columns; ++column) {
        std::size_t rest = column;
        std::size_t new_column = 0;
        std::size_t stride = 1;
        bool inside = true;
        for (std::size_t i = 1; i < old_dims.size(); ++i) {
            inside = inside && rest % old_dims[i] < new_dims[i];
            new_column += rest % old_dims[i] * stride;
            stride *= new_dims[i];
            rest /= old_dims[i];
        }
        if (!inside) continue;
        std::byte* const old_run = from + column * old_dims[0] * width;
        std::memcpy(to + new_column * new_dims[0] * width, old_run, run);
        std::memset(old_run, 0, run);
    }
}

// Elements that have no place any more end when the array is whole again: a hook that hears of their end may look at it.
void rebuild(ndArray_tag* array, dims_view old_dims, dims_view new_dims, dims_view shape) {
    const std::size_t width = stored_element_size(array);
    const std::size_t new_count = checked_element_count(new_dims, width);
    prepared_dims dims(shape, array);
    data_block block(allocate_data(new_count * width, DataInitialization::zeroed));
    const std::size_t old_count = array->pdata == nullptr ? 0 : saturated_count(old_dims);
    data_copy left_over(array);
    if (!has_plain_elements(array->class_id))
        left_over.allocate(old_count, width, DataInitialization::zeroed);
    if (new_count != 0 && old_count != 0)
        move_common(static_cast<std::byte*>(array->pdata), old_dims, static_cast<std::byte*>(block.get()),
                    new_dims, width);
    if (void* const left = left_over.blocks().pdata) std::memcpy(left, array->pdata, old_count * width);
    replace_block(array, block.release());
    dims.commit_to(array);
    array->flags &= ~flag_empty_square_bracket;
}

void refuse_function_arrays(const ndArray_tag* array, dims_view dims) {
    const auto is_one = [](std::size_t dim) { return dim == 1; };
    if (array->class_id == ndFUNCTION_CLASS && !std::all_of(dims.begin(), dims.end(), is_one))
        errors::raise<TARVEL::legacy_two_part::err_non_scalar_function_handles>();
}

// How an array is seen: with its fields in front of the dimensions.
dims_list with_fields(const ndArray_tag* array, dims_view dims) {
    dims_list all;
    if (is_struct_like(array->class_id)) all.push_back(field_count(array));
    all.insert(all.end(), dims.begin(), dims.end());
    return all;
}

// The shape of an array that is seen through the new dimensions.
dims_list shape_after(const ndArray_tag* array, dims_view old_seen, dims_view new_seen) {
    const bool last_changed = old_seen.back() != new_seen.back();
    if (new_seen.size() > 1 && last_changed) return {new_seen.begin(), new_seen.end()};
    return shape_after_growth(dims_of(array), new_seen, false);
}

void resize(ndArray_tag* array, dims_view old_seen, dims_view new_seen) {
    refuse_function_arrays(array, new_seen);
    const dims_list old_dims = with_fields(array, old_seen);
    const dims_list new_dims = with_fields(array, new_seen);
    // Growth of a dimension that stands for several tells nothing about those.
    const bool joins_dims =
        new_seen.size() > 1 && new_seen.size() < dims_of(array).size() && old_seen.back() != new_seen.back();
    if (shrinks_somewhere(old_seen, new_seen) || joins_dims) {
        const dims_list shape = shape_after(array, old_seen, new_seen);
        rebuild(array, as_view(old_dims), as_view(new_dims), as_view(shape));
    } else {
        grow_left_side(array, {as_view(old_dims), as_view(new_dims), false, is_struct_like(array->class_id)});
    }
}

void resize_full(ndArray_tag* array, dims_view dims) {
    if (array->share_record != nullptr) array->interleave_data();
    const auto is_one = [](std::size_t dim) { return dim == 1; };
    const auto other = std::find_if_not(dims.begin(), dims.end(), is_one);
    if (other != dims.end() && std::all_of(other + 1, dims.end(), is_one)) {
        const std::size_t old_count[] = {element_count(array)};
        const std::size_t new_count[] = {*other};
        return resize(array, old_count, new_count);
    }
    const dims_list old_seen = folded_dimensions(dims_of(array), dims.size());
    resize(array, as_view(old_seen), dims);
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndResizeArray(ndArray_tag* a, kvSize n, const kvSize* dims) {
    static constexpr kvSize none[] = {0, 0};
    const dims_view wanted = n == 0 ? dims_view(none) : dims_view(dims, n);
    complete_dimensions_if_opaque(a);
    if (saturated_count(wanted) == element_count(a)) return;
    if ((a->flags & (flag_indexing_opaque | flag_colon_object | flag_sparse)) == 0)
        return resize_full(a, wanted);
    errors::raise<TARVEL::legacy_two_part::invalidInput>();
}

} // namespace matrix::detail::noninlined::nd_array_api
