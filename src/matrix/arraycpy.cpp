// Copies of arrays: shared (one block, two headers) and deep (nothing below stays shared with the source).
#include "matrix/arraycpy.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"

#include <foundation/core/diag/diag.hpp>

#include <cstring>
#include <vector>

namespace matrix::internal {

array_ptr copy_header(const ndArray_tag* source) {
    complete_dimensions_if_opaque(source);
    prepared_dims dims(dims_of(source));
    array_ptr copy = header_factory::make_blank();
    copy->class_id = source->class_id;
    // The dimensions are the source's, so its inline-dims and scalar-double bits hold for the copy as well.
    dims.commit_to_new(copy.get());
    copy->flags = source->flags & ~flags_lost_by_copy;
    if (copy->class_id == ndOBJECT_CLASS) call_object_create_hook(copy.get());
    return copy;
}

namespace {

// A pair of the source's bin and one copy of the whole block; what a copied header keeps is the same either way.
array_ptr copy_pair(const ndArray_tag* source) {
    complete_dimensions_if_opaque(source);
    const std::size_t bytes = bin_size_of(source);
    array_ptr copy = take_pair(code_of(source), dims_of(source), bytes, DataInitialization::uninitialized);
    std::memcpy(copy->pdata, source->pdata, bytes);
    copy->flags =
        (source->flags & ~flags_lost_by_copy) | (copy->flags & (flag_cached_header | flag_bin_mask));
    return copy;
}

// A fresh block for capacity items of which the first live ones are the source's.
void* copy_items(const void* source, std::size_t item_size, std::size_t capacity, std::size_t live) {
    if (source == nullptr) return nullptr;
    void* const block = allocate_data(capacity * item_size, DataInitialization::uninitialized);
    if (live != 0) std::memcpy(block, source, live * item_size);
    return block;
}

// The room for nzmax elements stays; only those that are stored are copied.
array_ptr copy_sparse(const ndArray_tag* source) {
    array_ptr copy = copy_header(source);
    const std::size_t columns = source->n_or_ndims;
    const auto* const column_starts = std::bit_cast<const std::size_t*>(source->info_b);
    const std::size_t stored = column_starts == nullptr ? 0 : column_starts[columns];
    copy->info_b =
        std::bit_cast<std::uint64_t>(copy_items(column_starts, sizeof stored, columns + 1, columns + 1));
    const auto* const rows = std::bit_cast<const std::size_t*>(source->info_a);
    copy->info_a = std::bit_cast<std::uint64_t>(copy_items(rows, sizeof stored, source->info_c, stored));
    copy->pdata = copy_items(source->pdata, stored_element_size(source), source->info_c, stored);
    copy->info_c = source->info_c;
    return copy;
}

array_ptr copy_leaf(const ndArray_tag* source) {
    if ((source->flags & flag_sparse) != 0) return copy_sparse(source);
    if ((source->flags & flag_cached_header) != 0 && has_plain_elements(source->class_id) &&
        cache_is_enabled()) {
        return copy_pair(source);
    }
    array_ptr copy = copy_header(source);
    if (source->pdata == nullptr) return copy;
    const std::size_t bytes = element_count(source) * stored_element_size(source);
    copy->pdata = allocate_data(bytes, DataInitialization::uninitialized);
    if (copy->pdata != nullptr) std::memcpy(copy->pdata, source->pdata, bytes);
    return copy;
}

// A copy of a container whose slots are all null.
array_ptr copy_without_elements(const ndArray_tag* source) {
    array_ptr copy = copy_header(source);
    if (source->pdata != nullptr) {
        copy->pdata = allocate_data(slot_count(source) * sizeof(ndArray_tag*), DataInitialization::zeroed);
    }
    return copy;
}

// Copies the elements level by level with a list of its own, so that any depth of nesting takes constant stack. Slots that
// aren't filled yet are null: after a failure the outermost copy takes down what exists.
array_ptr copy_container(const ndArray_tag* source) {
    struct pending {
        const ndArray_tag* from;
        ndArray_tag* to;
    };
    array_ptr top = copy_without_elements(source);
    std::vector<pending> stack{{source, top.get()}};
    while (!stack.empty()) {
        const pending work = stack.back();
        stack.pop_back();
        if (work.from->pdata == nullptr) continue;
        for (std::size_t i = 0, count = slot_count(work.from); i < count; ++i) {
            const ndArray_tag* const element = slots_of(work.from)[i];
            if (element == nullptr) continue;
            const bool nested = is_container_class(element->class_id);
            array_ptr copy = nested ? copy_without_elements(element) : copy_leaf(element);
            copy->scope = ndMEMBER_SCOPE;
            if (nested) stack.push_back({element, copy.get()});
            slots_of(work.to)[i] = copy.release();
        }
    }
    return top;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail {

using namespace internal;

array_ptr do_shared_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    if ((source->flags & (flag_data_private | flag_share_data_private)) == flag_data_private) {
        foundation::core::diag::terminate("ERROR: sharing /* PRIVATE */ data ndArray.", "matrix/sharing",
                                          __LINE__, __func__);
    }
    array_ptr copy = copy_header(source);
    if (source->pdata == nullptr) return copy;
    if ((source->flags & flag_indexing_opaque) != 0) { // its class counts the payload, no record does
        copy->pdata = source->pdata;
        return copy;
    }
    // Sharing is the source's affair as well: its record and hint change, its value doesn't.
    share_data_to(const_cast<ndArray_tag*>(source), copy.get());
    // Only a header that has joined may hold the blocks: one that fails before frees what it holds.
    if ((source->flags & flag_sparse) != 0) {
        copy->info_a = source->info_a;
        copy->info_b = source->info_b;
        copy->info_c = source->info_c;
    }
    copy->pdata = source->pdata;
    copy->flags |= source->flags & (flag_cached_header | flag_bin_mask);
    return copy;
}

array_ptr do_deep_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    return is_container_class(source->class_id) ? copy_container(source) : copy_leaf(source);
}

} // namespace matrix::detail
