// Arguments of built-in functions brought to a storage: the array itself, or a new one as a temporary.
#include "matrix/frame.hpp"
#include "ops/sparse_conversion.hpp"

#include <nd/convert.hpp>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

ndArray_tag* itself_or_temporary(const ndArray_tag* array, array_ptr (*change)(const ndArray_tag*)) {
    if (array == nullptr) return nullptr;
    return framed([=]() -> ndArray_tag* {
        array_ptr changed = change(array);
        // The caller gets back the pointer that it gave, which is its own to write through or not.
        if (!changed) return const_cast<ndArray_tag*>(array);
        set_scope(changed.get(), ndTEMPORARY_SCOPE);
        return changed.release();
    });
}

} // namespace

ndArray_tag* ndMustBeFull(const ndArray_tag* array) { return itself_or_temporary(array, made_full); }
ndArray_tag* ndMustBeSparse(const ndArray_tag* array) { return itself_or_temporary(array, made_sparse); }

} // namespace matrix::detail::noninlined::nd_array_api
