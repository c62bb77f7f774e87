// The permutation of a cell: elements are shared with the source, never copied as bytes, since a slot owns a reference.
#include "matrix/permute_cell.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing_rollback.hpp"
#include "matrix/slots.hpp"

#include <algorithm>
#include <vector>

namespace matrix::internal {
namespace {

struct output_dim {
    std::size_t size;
    std::size_t stride; ///< in the source
};

std::vector<output_dim> output_dims(const ndArray_tag* source, dims_view order) {
    const dims_view dims = dims_of(source);
    std::vector<output_dim> by_source(order.size(), {1, 0});
    std::size_t stride = 1;
    for (std::size_t i = 0; i < order.size(); ++i) {
        by_source[i] = {i < dims.size() ? dims[i] : 1, stride};
        stride *= by_source[i].size;
    }
    std::vector<output_dim> output;
    output.reserve(order.size());
    for (const std::size_t from : order) output.push_back(by_source[from]);
    return output;
}

// Dimensions of 1 may stand anywhere: only the order of the others moves elements.
bool moves_elements(const std::vector<output_dim>& output) {
    std::size_t last = 0;
    for (const output_dim& dim : output) {
        if (dim.size == 0) return false;
        if (dim.size == 1) continue;
        if (dim.stride < last) return true;
        last = dim.stride;
    }
    return false;
}

// In output order; the position in the source follows the odometer by strides. Sharing notes what it leaves in the elements.
void fill(ndArray_tag* result, const ndArray_tag* source, const std::vector<output_dim>& output,
          sharing_rollback& shared) {
    std::vector<std::size_t> at(output.size(), 0);
    std::size_t from = 0;
    for (std::size_t to = 0, count = element_count(result); to < count; ++to) {
        ndArray_tag* const element = slots_of(source)[from];
        if (element != nullptr) shared.note(element);
        set_copy_in_slot(result, to, element);
        for (std::size_t i = 0; i < output.size(); ++i) {
            from += output[i].stride;
            if (++at[i] < output[i].size) break;
            from -= output[i].stride * output[i].size;
            at[i] = 0;
        }
    }
}

} // namespace

array_ptr permuted_cell(const ndArray_tag* source, dims_view order, ndVariableScope scope) {
    const std::vector<output_dim> output = output_dims(source, order);
    std::vector<std::size_t> sizes;
    sizes.reserve(output.size());
    for (const output_dim& dim : output) sizes.push_back(dim.size);
    if (!moves_elements(output)) {
        prepared_dims dims(sizes);
        array_ptr result = share_or_copy(source, scope);
        dims.commit_to(result.get());
        return result;
    }
    sharing_rollback shared;
    array_ptr result = detail::do_create_cell(sizes);
    set_scope(result.get(), scope);
    fill(result.get(), source, output, shared);
    shared.keep();
    return result;
}

} // namespace matrix::internal
