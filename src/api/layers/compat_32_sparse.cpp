// The 32-bit interface of sparse arrays. Index vectors are 64-bit in every array, so who asks for 32-bit ones is refused always.
#include "api/layers/sizes_32.hpp"
#include "matrix/frame.hpp"

#include <errors/raise.hpp>

#include <nd/compat.hpp>
#include <nd/messages.hpp>
#include <nd/sparse.hpp>

namespace matrix::detail::noninlined::nd_array_compat_32_api {

using internal::framed;
using internal::widened;

namespace {

template <class Result>
Result refuse_indices(const char* function = __builtin_FUNCTION()) {
    return framed(
        [=]() -> Result { errors::raise<TARVEL::legacy_two_part::err_sparse_64bit_obsolete>(function); });
}

} // namespace

ndArray_tag* ndCreateSparse(int m, int n, int nzmax, ndComplexity complexity) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateSparse(size.m, size.n, widened(nzmax), complexity);
    });
}

ndArray_tag* ndCreateSparseLogicalMatrix(int m, int n, int nzmax) {
    return framed([=] {
        const auto size = widened(m, n);
        return nd_array_api::ndCreateSparseLogicalMatrix(size.m, size.n, widened(nzmax));
    });
}

int* ndGetIr(const ndArray_tag* /*array*/) { return refuse_indices<int*>(); }
int* ndGetJc(const ndArray_tag* /*array*/) { return refuse_indices<int*>(); }
void ndSetIr(ndArray_tag* /*array*/, int* /*ir*/) { refuse_indices<void>(); }
void ndSetJc(ndArray_tag* /*array*/, int* /*jc*/) { refuse_indices<void>(); }

int ndGetNzmax(const ndArray_tag* array) {
    return framed([=] { return internal::narrowed(nd_array_api::ndGetNzmax(array)); });
}

} // namespace matrix::detail::noninlined::nd_array_compat_32_api
