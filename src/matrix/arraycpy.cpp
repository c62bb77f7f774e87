// Copies of arrays: shared (one block, two headers), deep (nothing below stays shared with the source), shallow (own slots,
// shared elements), and copies of the form alone.
#include "matrix/arraycpy.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/field_names.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"
#include "matrix/size_check.hpp"

#include <nd/share.hpp>

#include <cstring>

namespace matrix::internal {
namespace {

// The header without a word to anybody about its data. Until its hook is called an object is a struct: what ends before has
// nobody to tell.
array_ptr copy_form(const ndArray_tag* source) {
    complete_dimensions_if_opaque(source);
    array_ptr copy = header_factory::make_blank();
    const std::uint32_t flags = source->flags & ~flags_lost_by_copy;
    // The dimensions are the source's, so its inline-dims and scalar-double bits hold for the copy as well.
    if (has_inline_dims(source)) {
        copy->m_or_dims = source->m_or_dims;
        copy->n_or_ndims = source->n_or_ndims;
    } else {
        prepared_dims(dims_of(source)).commit_to_new(copy.get());
    }
    copy->class_id = source->class_id == ndOBJECT_CLASS ? std::int32_t{ndSTRUCT_CLASS} : source->class_id;
    copy->flags = flags;
    return copy;
}

// What a class keeps in the header beside its data.
void copy_class_words(const ndArray_tag* source, ndArray_tag* copy) {
    if (is_struct_like(source->class_id)) {
        copy_struct_info(source, copy);
    } else if (source->class_id == ndOPAQUE_CLASS) {
        copy->info_a = source->info_a;
        copy->info_b = source->info_b;
    }
    if (!is_container_class(source->class_id) || (source->flags & flag_on_collection_list) != 0)
        add_to_gc_list(copy);
}

array_ptr copy_form_and_words(const ndArray_tag* source) {
    array_ptr copy = copy_form(source);
    if (can_hold_references(source->class_id)) copy_class_words(source, copy.get());
    return copy;
}

// A pair of the source's bin and one copy of the whole block; what a copied header keeps is the same either way.
array_ptr copy_pair(const ndArray_tag* source) {
    const std::size_t bytes = bin_size_of(source);
    array_ptr copy = take_pair(code_of(source), dims_of(source), bytes, DataInitialization::uninitialized);
    std::memcpy(copy->pdata, source->pdata, bytes);
    copy->flags =
        (source->flags & ~flags_lost_by_copy) | (copy->flags & (flag_cached_header | flag_bin_mask));
    return copy;
}

bool comes_from_cache(const ndArray_tag* source) noexcept {
    return (source->flags & flag_cached_header) != 0 && has_plain_elements(source->class_id) &&
           cache_is_enabled();
}

void put_same_data(const ndArray_tag* source, ndArray_tag* copy) noexcept {
    copy->pdata = source->pdata;
    if ((source->flags & flag_sparse) == 0) return;
    copy->info_a = source->info_a;
    copy->info_b = source->info_b;
    copy->info_c = source->info_c;
}

} // namespace

array_ptr copy_header(const ndArray_tag* source) {
    array_ptr copy = copy_form_and_words(source);
    if (is_indexing_opaque(source) && source->pdata != nullptr) retain_opaque_payload(source);
    if (source->class_id == ndOBJECT_CLASS) become_object(copy.get());
    return copy;
}

void share_block(const ndArray_tag* source, ndArray_tag* copy) {
    const bool joins = source->pdata != nullptr && !is_indexing_opaque(source);
    // Sharing is the source's affair as well: its record and hint change, its value doesn't.
    auto* const other = const_cast<ndArray_tag*>(source);
    if (can_hold_references(source->class_id)) make_shared_roots(other, copy, joins);
    if (!joins) return;
    share_data_to(other, copy);
    // Only a header that has joined may hold the blocks: one that fails before frees what it holds.
    put_same_data(source, copy);
    copy->flags |= source->flags & (flag_cached_header | flag_bin_mask);
    if (copy->root_record != nullptr) join_root_ring(other, copy);
}

array_ptr share(const ndArray_tag* source, ndVariableScope scope) {
    array_ptr copy = copy_header(source);
    if (is_indexing_opaque(source))
        copy->pdata = source->pdata; // its class counts the payload, no record does
    if (scope != ndLOCAL_SCOPE) set_scope(copy.get(), scope);
    share_block(source, copy.get());
    return copy;
}

array_ptr share_or_copy(const ndArray_tag* source, ndVariableScope scope) {
    if (!is_copied_unasked(source)) return share(source, scope);
    array_ptr copy = matrix::detail::do_deep_copy(source);
    set_scope(copy.get(), scope);
    return copy;
}

array_ptr shallow_copy(const ndArray_tag* source, ndVariableScope scope) {
    array_ptr copy = copy_header(source);
    set_scope(copy.get(), scope);
    put_data(copy.get(), copy_slots_shallow(source, copy.get()).take());
    return copy;
}

} // namespace matrix::internal

namespace matrix::detail {

using namespace internal;

array_ptr do_shared_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    if (has_unshareable_data(source)) {
        end_for_sharing_fault("ERROR: sharing /* PRIVATE */ data ndArray.", __PRETTY_FUNCTION__);
    }
    return share(source, ndLOCAL_SCOPE);
}

array_ptr do_deep_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    if (comes_from_cache(source)) {
        bring_data_up_to_date(source);
        // Only a block that is still the bin's has the bin's size.
        if (comes_from_cache(source)) return copy_pair(source);
    }
    array_ptr copy = copy_header(source);
    if (is_indexing_opaque(source)) {
        put_same_data(source, copy.get());
        return copy;
    }
    put_data(copy.get(), copy_data(source, copy.get()).take());
    if ((source->flags & flag_sparse) != 0) copy->info_c = source->info_c;
    return copy;
}

} // namespace matrix::detail

namespace matrix {

using namespace internal;

array_ptr create_uninit_data_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    array_ptr copy = copy_header(source);
    if (is_indexing_opaque(source)) {
        copy->pdata = source->pdata;
        return copy;
    }
    const std::size_t count = (source->flags & flag_sparse) != 0     ? source->info_c
                              : is_container_class(source->class_id) ? slot_count(source)
                                                                     : element_count(source);
    // Undefined bytes can't stand for references: such an array couldn't be destroyed.
    const auto init = can_hold_references(source->class_id) ? DataInitialization::zeroed
                                                            : DataInitialization::uninitialized;
    copy->pdata = allocate_data(saturated_product(count, stored_element_size(source)), init);
    return copy;
}

array_ptr create_empty_copy(const ndArray_tag* source) {
    if (source == nullptr) return nullptr;
    array_ptr copy = copy_form_and_words(source);
    // An empty array holds no payload and no range.
    copy->flags &= ~(flag_indexing_opaque | flag_colon_object);
    free_dims(copy.get());
    if ((source->flags & flag_sparse) != 0) {
        const auto zeroed = DataInitialization::zeroed;
        copy->pdata = allocate_data(stored_element_size(source), zeroed);
        copy->info_a = std::bit_cast<std::uint64_t>(allocate_data(sizeof(std::size_t), zeroed));
        copy->info_b = std::bit_cast<std::uint64_t>(allocate_data(sizeof(std::size_t), zeroed));
        copy->info_c = 1;
    }
    if (source->class_id == ndOBJECT_CLASS) become_object(copy.get());
    return copy;
}

} // namespace matrix
