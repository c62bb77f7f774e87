// The 32-bit interface of text. The getters that answer 1 when they fail do so for a negative size too.
#include "api/layers/sizes_32.hpp"
#include "matrix/frame.hpp"

#include <nd/compat.hpp>
#include <nd/text.hpp>

namespace matrix::detail::noninlined::nd_array_compat_32_api {

using internal::framed;
using internal::framed_status;
using internal::wide_dimensions;
using internal::widen_dimensions;
using internal::widened;

namespace deprecated = nd_array_api::deprecated;

ndArray_tag* ndCreateCharArray(int ndim, const int* dims) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(ndim, dims, wide);
        return nd_array_api::ndCreateCharArray(wide.size(), wide.data());
    });
}

ndArray_tag* ndCreateCharMatrixFromStrings(int m, const char** strings) {
    return framed([=] { return nd_array_api::ndCreateCharMatrixFromStrings(widened(m), strings); });
}

ndArray_tag* ndCreateStringFromNChars(const char* text, int n) {
    return framed([=] { return nd_array_api::ndCreateStringFromNChars(text, widened(n)); });
}

int ndGetString(const ndArray_tag* array, char* buffer, int size) {
    return framed_status([=] { return deprecated::ndGetString(array, buffer, widened(size)); });
}

int ndGetNChars(const ndArray_tag* array, char* buffer, int size) {
    return framed_status([=] { return deprecated::ndGetNChars(array, buffer, widened(size)); });
}

} // namespace matrix::detail::noninlined::nd_array_compat_32_api
