// How an array ends.
//
//   destroyArray      one owner lets go; more owners: only the count falls
//   end_array         the last one did: off the array list and the collection list, then
//                       - a pair that came from a cache bin and is still whole goes back to it
//                       - data that others share stay with them; the header alone is finished
//                       - a container's elements are walked without recursion, whatever the depth
//                       - the rest is torn down by class, and the header finished
//   finish_header     data, share record and dimensions are freed, the record is poisoned and given to its allocator
//
// The walk through a container needs no memory of its own: the dimension words of a dying container become a work record
// (how many elements are pending, and which container was being worked on before), so a nesting of any depth dies in
// constant stack and can't fail.
#include "matrix/destroy.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/array_list.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/dims32.hpp"
#include "matrix/empty_header.hpp"
#include "matrix/field_names.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"
#include "matrix/spare_headers.hpp"
#include "matrix/sparse_parts.hpp"

#include <foundation/log/logger.hpp>

#include <new>
#include <utility>

namespace matrix::internal {
namespace {

// Dimensions, share record and blocks. The words that pointed to them are stale then.
void release_blocks(ndArray_tag* array) noexcept {
    if (!has_inline_dims(array)) free_dims(array);
    void (*const deleter)(void*) = array->hasCustomDeleter() ? array->share_record->deleter : nullptr;
    free_share_record(array);
    if ((array->flags & flags_data_not_owned) != 0) return;
    if (deleter != nullptr) {
        call_custom_deleter(deleter, array->pdata);
    } else {
        free_data(array->pdata);
    }
    if (is_sparse(array)) {
        free_data(row_indices(array));
        free_data(column_starts(array));
    }
}

} // namespace

void finish_header(ndArray_tag* array) noexcept {
    array->scope = ndUNKNOWN_SCOPE;
    release_blocks(array);
    give_header_back(array);
}

namespace {

// What a class keeps beside its block. Elements of containers have been dealt with: by the walk, or they belong to sharers.
// Dimensions aren't read here: in a container they may be a work record by now.
void tear_down_class_parts(ndArray_tag* array) noexcept {
    free_dims32(array);
    remove_from_gc_list(array);
    if (is_struct_like(array->class_id)) {
        release_struct_info(array);
        array->class_id = ndUNKNOWN_CLASS;
    } else if (array->class_id == ndFUNCTION_CLASS) {
        destroy_function_records(array);
    } else if (array->class_id == ndOPAQUE_CLASS) {
        destroy_opaque_payload(array);
    }
    if (array->root_record != nullptr) release_root_record(array);
}

void tear_down_and_finish(ndArray_tag* array) noexcept {
    tear_down_class_parts(array);
    finish_header(array);
}

// The dimension words of a dying container. Its real dimensions are gone: nothing may ask for its count any more.
struct work_record {
    static void begin(ndArray_tag* container, std::size_t pending, ndArray_tag* previous) noexcept {
        free_dims(container);
        container->m_or_dims = pending;
        container->n_or_ndims = std::bit_cast<std::uint64_t>(previous);
    }
    static ndArray_tag* pop(ndArray_tag* container) noexcept {
        return container->m_or_dims == 0 ? nullptr : slots_of(container)[--container->m_or_dims];
    }
    static ndArray_tag* previous(const ndArray_tag* container) noexcept {
        return std::bit_cast<ndArray_tag*>(container->n_or_ndims);
    }
};

// Deals with one element at once where that needs no walk. True when it is a container with one owner: still to be walked.
bool needs_walk(ndArray_tag* element) noexcept {
    if (header_owners(element) >= 2) {
        --element->ref_count;
        return false;
    }
    if (!is_container_class(element->class_id)) {
        // A pair keeps its scope in the bin: who holds a pointer to this one can see that it has ended.
        if (element->scope == ndMEMBER_SCOPE && element->internal_ref_count == 0)
            element->scope = ndUNKNOWN_SCOPE;
        destroyArray(element);
        return false;
    }
    if (element->scope == ndTEMPORARY_SCOPE) leave_array_list(element);
    remove_from_gc_list(element);
    element->scope = ndLOCAL_SCOPE;
    element->parent = nullptr;
    if (element->class_id == ndOBJECT_CLASS) call_object_destroy_hook(element);
    if (release_data_for_destroy(element)) return true;
    tear_down_and_finish(element);
    return false;
}

// Deals with the elements of a container and moves those that need a walk of their own to the front of its slots.
std::size_t compact_pending(ndArray_tag* container) noexcept {
    if (container->pdata == nullptr) return 0;
    ndArray_tag** const slots = slots_of(container);
    const std::size_t count = slot_count(container);
    std::size_t pending = 0;
    for (std::size_t i = 0; i < count; ++i) {
        ndArray_tag* const element = slots[i];
        slots[i] = nullptr;
        if (element != nullptr && needs_walk(element)) slots[pending++] = element;
    }
    return pending;
}

// Walks a container that this header alone owns and finishes everything below it. The container itself is left 0x0.
void destroy_elements(ndArray_tag* top) noexcept {
    ndArray_tag* current = top;
    work_record::begin(current, compact_pending(current), nullptr);
    for (;;) {
        ndArray_tag* const child = work_record::pop(current);
        if (child == nullptr) {
            if (current == top) return;
            ndArray_tag* const previous = work_record::previous(current);
            tear_down_and_finish(current);
            current = previous;
            continue;
        }
        work_record::begin(child, compact_pending(child), current);
        current = child;
    }
}

// A pair goes back as it came: a deleter that another sharer of the block has set must be asked in the end, and what an
// indexing-opaque array has is its class's.
bool can_be_recycled(const ndArray_tag* array) noexcept {
    return (array->flags & (flag_cached_header | flag_indexing_opaque)) == flag_cached_header &&
           !array->hasCustomDeleter();
}

void destroy_contents(ndArray_tag* array) noexcept {
    if (array->class_id == ndOBJECT_CLASS) call_object_destroy_hook(array);
    if (!release_data_for_destroy(array)) {
        tear_down_and_finish(array);
    } else if (is_container_class(array->class_id)) {
        destroy_elements(array);
        tear_down_and_finish(array);
    } else {
        tear_down_class_parts(array);
        if (can_be_recycled(array)) {
            recycle_pair(array);
        } else {
            finish_header(array);
        }
    }
}

const foundation::log::basic_diagnostic_logger& custom_deleter_channel() {
    static const auto& channel = *new foundation::log::basic_diagnostic_logger("matrix::customDeleter");
    return channel;
}

[[maybe_unused]] const auto& channel_made_at_load = custom_deleter_channel();

// The deleter runs whether or not there is memory to tell so.
void log_deleter_event(const char* text) noexcept {
    constexpr std::uint32_t severity = 8;
    try {
        if (custom_deleter_channel().is_on(severity)) custom_deleter_channel().write(severity, text);
    } catch (const std::bad_alloc&) {
    }
}

// Nothing that the header owns beside its block, and nothing that it hangs from.
[[gnu::always_inline]] inline bool owns_its_block_only(const ndArray_tag* array) noexcept {
    return has_plain_elements(array->class_id) && array->share_record == nullptr && array->dims32 == nullptr;
}

// A pair that goes back to its bin as it is, once it's off the array list.
[[gnu::always_inline]] inline bool fits_its_bin(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t tested =
        flag_cached_header | flag_inline_dims | flag_shared_data | flag_on_collection_list;
    return (array->flags & tested) == (flag_cached_header | flag_inline_dims) && owns_its_block_only(array);
}

// A plain header with a block of its own.
bool is_plain(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t tested = flag_cached_header | flag_shared_data | flag_on_collection_list |
                                     flag_inline_dims | flag_sparse | flags_data_not_owned;
    return (array->flags & tested) == flag_inline_dims && owns_its_block_only(array) &&
           array->root_record == nullptr;
}

void finish_plain(ndArray_tag* array) noexcept {
    array->scope = ndUNKNOWN_SCOPE;
    array->parent = nullptr;
    free_data(array->pdata);
    give_header_back(array);
}

// The short ways out of destroyArray that end_array() would find as well, but later. Each is a function of its own, so that
// none saves registers for the next. A pair keeps the scope it had as a temporary: on no list, it shows that the array has ended.
[[gnu::noinline]] void end_plain(ndArray_tag* array) noexcept {
    if (is_plain(array)) return finish_plain(array);
    end_array(array);
}

[[gnu::noinline]] void end_sharer(ndArray_tag* array) noexcept {
    if (!leave_record_at_once(array)) return end_array(array);
    array->scope = ndUNKNOWN_SCOPE;
    give_header_back(array);
}

[[gnu::always_inline]] inline void end_outside_bins(ndArray_tag* array) noexcept {
    if ((array->flags & flag_shared_data) != 0) return end_sharer(array);
    end_plain(array);
}

[[gnu::noinline]] void end_listed(ndArray_tag* array) noexcept {
    if (!leave_list_in_order(array)) leave_array_list(array);
    if (fits_its_bin(array)) return recycle_whole_pair(array);
    array->scope = ndLOCAL_SCOPE;
    end_outside_bins(array);
}

[[gnu::noinline]] void end_temporary(ndArray_tag* array) noexcept {
    if (!leave_list_at_once(array)) return end_listed(array);
    if (fits_its_bin(array)) [[likely]]
        return recycle_whole_pair(array);
    array->scope = ndLOCAL_SCOPE;
    end_outside_bins(array);
}

// One owner lets go. In line in each entry point that does this: a whole pair then needs no further call.
[[gnu::always_inline]] inline void let_go(ndArray_tag* array) noexcept {
    if (array == nullptr) [[unlikely]]
        return;
    if (array->ref_count >= 2 || array->internal_ref_count != 0) [[unlikely]] {
        --array->ref_count;
    } else if (array->scope == ndTEMPORARY_SCOPE) {
        end_temporary(array);
    } else if (fits_its_bin(array)) [[likely]] {
        recycle_whole_pair(array);
    } else {
        end_outside_bins(array);
    }
}

bool pair_is_whole(const ndArray_tag* array) noexcept {
    return can_be_recycled(array) && !has_shared_data(array) && has_plain_elements(array->class_id) &&
           array->dims32 == nullptr;
}

} // namespace

void call_custom_deleter(void (*deleter)(void*), void* data) noexcept {
    if (deleter == nullptr || data == nullptr) return;
    try {
        log_deleter_event("Now invoking ndarray customer deleter");
        deleter(data);
        log_deleter_event("Customer ndarray deleter invoked");
    } catch (...) {
        log_deleter_event("Custom deleter threw exception");
    }
}

void empty_header(ndArray_tag* array) noexcept {
    constexpr std::uint32_t kept = flag_user_mask | flag_from_global_workspace | flag_single_threaded_sharing;
    if (array->class_id == ndOBJECT_CLASS) call_object_destroy_hook(array);
    RootRecord* const root = std::exchange(array->root_record, nullptr);
    if (release_data_for_destroy(array) && is_container_class(array->class_id)) destroy_elements(array);
    tear_down_class_parts(array);
    release_blocks(array);
    array->class_id = ndUNKNOWN_CLASS;
    array->flags = (array->flags & kept) | flag_inline_dims;
    array->m_or_dims = array->n_or_ndims = 0;
    array->pdata = nullptr;
    array->info_a = array->info_b = array->info_c = 0;
    array->root_record = root;
}

void end_array(ndArray_tag* array) noexcept {
    if (array->scope == ndTEMPORARY_SCOPE) {
        leave_array_list(array);
        array->scope = ndLOCAL_SCOPE;
    }
    remove_from_gc_list(array);
    if (array->internal_ref_count != 0) {
        array->ref_count = 1;
        array->internal_ref_count = 0;
        array->flags &= ~flag_reusable;
    }
    if (pair_is_whole(array)) {
        recycle_pair(array);
        return;
    }
    array->parent = nullptr;
    destroy_contents(array);
}

} // namespace matrix::internal

namespace matrix {

void destroyArray(ndArray_tag* array) { internal::let_go(array); }

void detail::ndDestroy_deleter::operator()(const ndArray_tag* array) const noexcept {
    destroyArray(const_cast<ndArray_tag*>(array));
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

void ndDestroyArray(ndArray_tag* array) { internal::let_go(array); }

void ndReleaseInternalReference(ndArray_tag* array) {
    if (array->internal_ref_count >= 2 || array->ref_count != 0) {
        --array->internal_ref_count;
        return;
    }
    internal::end_array(array);
}

void ndDestroyTempArrayOnArrayList(ndArray_tag* array) {
    if (array->scope == ndTEMPORARY_SCOPE) destroyArray(array);
}

} // namespace matrix::detail::noninlined::nd_array_api

void intrusive_ptr_add_ref(ndArray_tag* array) {
    array->flags &= ~matrix::flag_reusable;
    ++array->ref_count;
}

void intrusive_ptr_release(ndArray_tag* array) { matrix::internal::let_go(array); }
