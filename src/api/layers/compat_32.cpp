// The 32-bit interface over the 64-bit one: each function converts its sizes and goes on to the function of the same name.
// An error of the conversion takes the way out of that function: an exception with module mode 1, null or 0 otherwise.
#include "api/layers/sizes_32.hpp"
#include "matrix/dims32.hpp"
#include "matrix/frame.hpp"

#include <nd/access.hpp>
#include <nd/compat.hpp>
#include <nd/create.hpp>

namespace matrix::detail::noninlined::nd_array_compat_32_api {

using internal::framed;
using internal::wide_dimensions;
using internal::widen_dimensions;
using internal::widened;

ndArray_tag* ndCreateDoubleMatrix(int m, int n, ndComplexity complexity) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateDoubleMatrix(size.m, size.n, complexity);
    });
}

ndArray_tag* ndCreateNumericMatrix(int m, int n, ndClassID classId, ndComplexity complexity) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateNumericMatrix(size.m, size.n, classId, complexity);
    });
}

ndArray_tag* ndCreateNumericArray(int ndim, const int* dims, ndClassID classId, ndComplexity complexity) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(ndim, dims, wide);
        return nd_array_api::ndCreateNumericArray(wide.size(), wide.data(), classId, complexity);
    });
}

ndArray_tag* ndCreateLogicalMatrix(int m, int n) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateLogicalMatrix(size.m, size.n);
    });
}

ndArray_tag* ndCreateLogicalArray(int ndim, const int* dims) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(ndim, dims, wide);
        return nd_array_api::ndCreateLogicalArray(wide.size(), wide.data());
    });
}

int ndGetNumberOfDimensions(const ndArray_tag* array) {
    return framed([=] { return internal::narrowed(nd_array_api::ndGetNumberOfDimensions(array)); });
}

const int* ndGetDimensions(const ndArray_tag* array) {
    return framed([=] { return internal::narrowed_dimensions(array); });
}

int ndCalcSingleSubscript(const ndArray_tag* array, int nsubs, const int* subs) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(nsubs, subs, wide);
        return internal::narrowed(nd_array_api::ndCalcSingleSubscript(array, wide.size(), wide.data()));
    });
}

} // namespace matrix::detail::noninlined::nd_array_compat_32_api
