// Storing and freeing dimensions.
#include "matrix/dimensions.hpp"

#include "matrix/scaffolding.hpp"

#include <algorithm>
#include <cstring>

namespace matrix::internal {
namespace {

bool block_is_reusable(const ndArray_tag* array, std::size_t needed) noexcept {
    return array != nullptr && !has_inline_dims(array) && array->n_or_ndims >= needed;
}

} // namespace

void prepared_dims::make_block(const ndArray_tag* reuse) {
    if (block_is_reusable(reuse, dims_.size())) return;
    block_ = std::make_unique_for_overwrite<std::size_t[]>(dims_.size());
    std::copy(dims_.begin(), dims_.end(), block_.get());
}

void prepared_dims::store_block(ndArray_tag* array) noexcept {
    if (block_) array->m_or_dims = std::bit_cast<std::uint64_t>(block_.release());
    array->n_or_ndims = dims_.size();
    array->flags &= ~(flag_inline_dims | flag_scalar_double);
}

void prepared_dims::commit_to(ndArray_tag* array) noexcept {
    if (dims_.size() > 2 && !block_) {
        // The values may be the array's own block.
        std::memmove(dims_block(array), dims_.data(), dims_.size_bytes());
        store_block(array);
        return;
    }
    // dims_ may view the words or the block that are replaced here.
    const std::unique_ptr<std::size_t[]> old(has_inline_dims(array) ? nullptr : dims_block(array));
    commit_to_new(array);
}

void free_dims(ndArray_tag* array) noexcept {
    if (!has_inline_dims(array)) delete[] dims_block(array);
    store_inline_dims(array, 0, 0);
}

} // namespace matrix::internal

void ndArray_tag::set_dimensions(std::span<const std::size_t> dims) {
    matrix::internal::prepared_dims prepared(dims, this);
    if (share_record != nullptr) matrix::internal::note_block_size(this);
    prepared.commit_to(this);
}
