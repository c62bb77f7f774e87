// The copies of the interface: each is the error frame around one of arraycpy.cpp.
#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/empty_header.hpp"
#include "matrix/frame.hpp"
#include "matrix/replace.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"

#include <nd/share.hpp>

namespace matrix::internal {

ndArray_tag* replace_array(ndArray_tag* array, array_ptr copy) {
    set_scope(copy.get(), static_cast<ndVariableScope>(array->scope));
    if (array->root_record != nullptr && copy->root_record != nullptr) move_root_relations(array, copy.get());
    destroyArray(array);
    return copy.release();
}

namespace {

ndArray_tag* shared_data_copy(const ndArray_tag* array) {
    if (header_owners(array) == 1 && !has_shared_data(array)) bring_data_up_to_date(array);
    return share(array, ndTEMPORARY_SCOPE).release();
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
    if (has_unshareable_data(array)) [[unlikely]]
        return do_shared_copy(array).release(); // ends the process
    return framed([=] { return shared_data_copy(array); });
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
    return framed([=] { return replace_array(array, do_shared_copy(array)); });
}

} // namespace matrix::detail::noninlined::nd_array_api
