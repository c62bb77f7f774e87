// Readers and writers of dimensions. Readers complete the dimensions of an indexing-opaque array first; writers leave the data
// as they are.
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/flag_words.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"

#include <nd/access.hpp>

#include <algorithm>
#include <new>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

kvSize ndGetNumberOfDimensions(const ndArray_tag* array) { return dims_of(array).size(); }

const kvSize* ndGetDimensions(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return dims_of(array).data();
}

kvSize ndGetM(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return has_inline_dims(array) ? array->m_or_dims : dims_block(array)[0];
}

kvSize ndGetN(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    if (has_inline_dims(array)) return array->n_or_ndims;
    kvSize product = 1;
    for (const std::size_t dim : dims_of(array).subspan(1)) product *= dim;
    return product;
}

kvSize ndGetNumberOfElements(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return element_count(array);
}

bool ndIsEmpty(const ndArray_tag* array) {
    // The dimensions of a colon object are those of its operands.
    if (has_flag(array, flag_colon_object)) return count_colon_elements(array) == 0;
    complete_dimensions_if_opaque(array);
    if (has_inline_dims(array)) return array->m_or_dims == 0 || array->n_or_ndims == 0;
    for (const std::size_t dim : dims_of(array)) {
        if (dim == 0) return true;
    }
    return false;
}

void ndGetDims(const ndArray_tag* array, kvSize nsubs, kvSize* out) {
    complete_dimensions_if_opaque(array);
    const dims_view dims = dims_of(array);
    const std::size_t own = std::min(nsubs, dims.size());
    std::copy_n(dims.begin(), own, out);
    std::fill(out + own, out + nsubs, kvSize{1});
    if (own == 0) return;
    for (const std::size_t dim : dims.subspan(own)) out[own - 1] = saturated_product(out[own - 1], dim);
}

kvIndex ndCalcSingleSubscript(const ndArray_tag* array, kvSize nsubs, const kvIndex* subs) {
    complete_dimensions_if_opaque(array);
    const dims_view dims = dims_of(array);
    kvIndex offset = 0;
    std::size_t stride = 1;
    for (std::size_t i = 0; i < std::min(nsubs, dims.size()); ++i) {
        offset += subs[i] * stride; // unsigned: a sum beyond the largest offset wraps
        stride *= dims[i];
    }
    return offset;
}

namespace {

// The block's size is a function of the tracked count: a larger count would make the promise of spare room a lie.
void forget_capacity_if_larger(ndArray_tag* array, std::size_t old_count) noexcept {
    if (element_count(array) > old_count) put_flag(array, flag_capacity_tracked, false);
}

std::size_t count_before_change(ndArray_tag* array) noexcept {
    if (array->share_record != nullptr) note_block_size(array);
    return element_count(array);
}

} // namespace

void ndSetM(ndArray_tag* array, kvSize m) {
    const std::size_t old_count = count_before_change(array);
    if (has_inline_dims(array)) {
        array->m_or_dims = m;
    } else {
        dims_block(array)[0] = m;
    }
    put_flag(array, flag_scalar_double, false);
    forget_capacity_if_larger(array, old_count);
}

void ndSetN(ndArray_tag* array, kvSize n) {
    const std::size_t old_count = count_before_change(array);
    if (!has_inline_dims(array)) {
        const std::size_t m = dims_block(array)[0];
        free_dims(array);
        array->m_or_dims = m;
    }
    array->n_or_ndims = n;
    put_flag(array, flag_scalar_double, false);
    forget_capacity_if_larger(array, old_count);
}

int ndSetDimensions(ndArray_tag* array, const kvSize* dims, kvSize ndim) {
    const std::size_t old_count = element_count(array);
    try {
        array->set_dimensions({dims, ndim});
    } catch (const std::bad_alloc&) {
        return 1;
    }
    forget_capacity_if_larger(array, old_count);
    return 0;
}

} // namespace matrix::detail::noninlined::nd_array_api
