// The unsharing of the interface: in place when the caller is the only owner, by a copy otherwise.
#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/frame.hpp"
#include "matrix/replace.hpp"
#include "matrix/sharing.hpp"
#include "matrix/unshare.hpp"

#include <errors/raise.hpp>

#include <nd/messages.hpp>
#include <nd/share.hpp>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

using unshare_in_place = bool (*)(ndArray_tag* array);
using make_copy = array_ptr (*)(const ndArray_tag* array, ndVariableScope scope);

array_ptr deep_copy(const ndArray_tag* array, ndVariableScope scope) {
    array_ptr copy = do_deep_copy(array);
    set_scope(copy.get(), scope);
    return copy;
}

ndArray_tag* unshare_or_replace(ndArray_tag* array, unshare_in_place in_place, make_copy copy) {
    return framed([=]() -> ndArray_tag* {
        if (header_owners(array) >= 2) return replace_array(array, copy(array, scope_of(array)));
        return in_place(array) ? array : nullptr;
    });
}

} // namespace

ndArray_tag* ndUnshare(ndArray_tag* array) {
    return array == nullptr ? nullptr : unshare_or_replace(array, unshare, deep_copy);
}

ndArray_tag* ndUnshareShallow(ndArray_tag* array) {
    if (array == nullptr || !is_container_class(array->class_id)) return ndUnshare(array);
    return unshare_or_replace(array, unshare_shallow, shallow_copy);
}

int ndUnshareOtherArrays(ndArray_tag* array) { return array == nullptr || unshare_others(array) ? 0 : 1; }

bool ndUnshareOrEmptyOthers(ndArray_tag* array) {
    if (array == nullptr || unshare_others(array)) return true;
    unshare_and_empty_others(array);
    return false;
}

int ndUnshareArray(ndArray_tag* array, int level) {
    if (array == nullptr) return 0;
    const bool done = framed([=] {
        if (header_owners(array) >= 2)
            errors::raise<TARVEL::matrix::badUndocumentedFunctionInput>("ndUnshareArray");
        return (level != 0 ? ndUnshareShallow(array) : ndUnshare(array)) != nullptr;
    });
    return done ? 0 : 1;
}

void ndSetShareDataPrivateFlag(ndArray_tag* array, bool flag) {
    constexpr std::uint32_t both = flag_share_data_private | flag_data_private;
    if (array == nullptr) return;
    if (!flag) {
        array->flags &= ~both;
        return;
    }
    framed([=] {
        array->set_data_sharing_single_threaded(true);
        array->flags = (array->flags & ~(flag_cached_header | flag_bin_mask)) | both;
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
