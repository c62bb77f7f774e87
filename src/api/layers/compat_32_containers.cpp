// The 32-bit interface of cells and structs: sizes and indices are int here, numbers of fields everywhere.
#include "api/layers/sizes_32.hpp"
#include "matrix/frame.hpp"

#include <nd/compat.hpp>
#include <nd/containers.hpp>

namespace matrix::detail::noninlined::nd_array_compat_32_api {

using internal::framed;
using internal::wide_dimensions;
using internal::widen_dimensions;
using internal::widened;

namespace published = nd_array_api::published;

ndArray_tag* ndCreateCellMatrix(int m, int n) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateCellMatrix(size.m, size.n);
    });
}

ndArray_tag* ndCreateCellArray(int ndim, const int* dims) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(ndim, dims, wide);
        return nd_array_api::ndCreateCellArray(wide.size(), wide.data());
    });
}

ndArray_tag* ndCreateStructMatrix(int m, int n, int nfields, const char** names) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateStructMatrix(size.m, size.n, nfields, names);
    });
}

ndArray_tag* ndCreateStructArray(int ndim, const int* dims, int nfields, const char** names) {
    return framed([=] {
        wide_dimensions wide;
        widen_dimensions(ndim, dims, wide);
        return nd_array_api::ndCreateStructArray(wide.size(), wide.data(), nfields, names);
    });
}

ndArray_tag* ndGetCell(const ndArray_tag* cell, int index) {
    return framed([=] { return published::ndGetCell(cell, widened(index)); });
}

void ndSetCell(ndArray_tag* cell, int index, ndArray_tag* value) {
    framed([=] { published::ndSetCell(cell, widened(index), value); });
}

ndArray_tag* ndGetField(const ndArray_tag* array, int index, const char* name) {
    return framed([=] { return published::ndGetField(array, widened(index), name); });
}

void ndSetField(ndArray_tag* array, int index, const char* name, ndArray_tag* value) {
    framed([=] { published::ndSetField(array, widened(index), name, value); });
}

ndArray_tag* ndGetFieldByNumber(const ndArray_tag* array, int index, int number) {
    return framed([=] { return published::ndGetFieldByNumber(array, widened(index), number); });
}

void ndSetFieldByNumber(ndArray_tag* array, int index, int number, ndArray_tag* value) {
    framed([=] { published::ndSetFieldByNumber(array, widened(index), number, value); });
}

} // namespace matrix::detail::noninlined::nd_array_compat_32_api
