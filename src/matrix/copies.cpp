// The copies of the interface: each is the error frame around one of arraycpy.cpp.
#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/empty_header.hpp"
#include "matrix/frame.hpp"
#include "matrix/replace.hpp"
#include "matrix/sharing.hpp"
#include "matrix/spare_headers.hpp"

#include <nd/interleaved.hpp>
#include <nd/share.hpp>

namespace matrix::internal {

ndArray_tag* replace_array(ndArray_tag* array, array_ptr copy) {
    if (array->root_record != nullptr && copy->root_record != nullptr) move_root_relations(array, copy.get());
    destroyArray(array);
    return copy.release();
}

namespace {

ndArray_tag* shared_data_copy(const ndArray_tag* array) {
    // The value of the array and of what stands in its slots doesn't change.
    if (header_owners(array) == 1 && !has_shared_data(array))
        updateInterleavedData(const_cast<ndArray_tag*>(array));
    return share(array, ndTEMPORARY_SCOPE).release();
}

[[gnu::noinline]] ndArray_tag* shared_data_copy_slowly(const ndArray_tag* array) {
    if (has_unshareable_data(array)) [[unlikely]]
        return matrix::detail::do_shared_copy(array).release(); // ends the process
    return framed([=] { return shared_data_copy(array); });
}

[[gnu::noinline, gnu::cold]] ndArray_tag* shared_data_copy_without(ndArray_tag* header,
                                                                   const ndArray_tag* array) {
    give_header_back(header);
    return shared_data_copy_slowly(array);
}

// A plain array of two dimensions whose block has a record already, and no separate view to bring up to date. While others
// share the block the view is theirs too, and stays as it is.
bool shares_at_once(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t tested = flags_of_long_sharing | flag_share_data_private | flag_inline_dims;
    if ((array->flags & tested) != flag_inline_dims || !has_plain_elements(array->class_id)) return false;
    const ::share_record* const record = array->share_record;
    if (record == nullptr || array->pdata == nullptr) return false;
    return record->count.load(std::memory_order_acquire) > 1 || record->scData == nullptr;
}

[[gnu::always_inline]] inline void start_sharer(const ndArray_tag* array, ndArray_tag* copy) noexcept {
    constexpr std::uint32_t copied = ~flags_lost_by_copy | flag_cached_header | flag_bin_mask;
    header_factory::start(copy, array->class_id, array->m_or_dims, array->n_or_ndims,
                          (array->flags & copied) | flag_shared_data);
    copy->pdata = array->pdata;
    copy->share_record = array->share_record;
}

[[gnu::always_inline]] inline void join_at_once(ndArray_tag* array) noexcept {
    // A store that changes nothing would still hold up the next copy.
    const std::uint32_t flags = (array->flags & ~flag_reusable) | flag_shared_data;
    if (flags != array->flags) [[unlikely]]
        array->flags = flags;
    note_joining(array);
    array->share_record->count.fetch_add(1, std::memory_order_relaxed);
}

// The array's data belong to the copy alone from now on.
void claim(ndArray_tag* array, ndArray_tag* copy) noexcept {
    if ((array->flags & flag_share_data_private) != 0) {
        copy->flags |= flag_share_data_private | flag_data_private;
        copy->flags &= ~(flag_cached_header | flag_bin_mask);
        array->flags &= ~(flag_share_data_private | flag_data_private);
    }
    empty_header(array);
    array->flags |= flag_reusable;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

ndArray_tag* ndCreateSharedDataCopy(const ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    if (!shares_at_once(array)) return shared_data_copy_slowly(array);
    ndArray_tag* const copy = take_spare_header();
    if (copy == nullptr) [[unlikely]]
        return shared_data_copy_slowly(array);
    start_sharer(array, copy);
    if (the_module.array_lists && !make_temporary_at_once(copy)) [[unlikely]]
        return shared_data_copy_without(copy, array);
    join_at_once(const_cast<ndArray_tag*>(array));
    return copy;
}

ndArray_tag* ndCreateDeepCopy(const ndArray_tag* array) {
    return framed_creator([=] { return do_deep_copy(array); });
}

ndArray_tag* ndDuplicateArray(const ndArray_tag* array) { return ndCreateDeepCopy(array); }

ndArray_tag* ndCreateSkeletonCopy(const ndArray_tag* array, ndComplexity /*complexity*/) {
    return framed_creator([=] { return create_uninit_data_copy(array); });
}

ndArray_tag* ndCreateEmptyCopy(const ndArray_tag* array) {
    return framed_creator([=] { return create_empty_copy(array); });
}

ndArray_tag* ndCreateClaimedDataCopy(ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    const bool reusable = (array->flags & flag_reusable) != 0;
    ndArray_tag* const copy = ndCreateSharedDataCopy(array);
    if (copy != nullptr && reusable) claim(array, copy);
    return copy;
}

ndArray_tag* ndUnreference(ndArray_tag* array) {
    if (array == nullptr || header_owners(array) < 2) return array;
    return framed([=] {
        if (has_unshareable_data(array)) return do_shared_copy(array).release(); // ends the process
        return replace_array(array, share(array, scope_of(array)));
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
