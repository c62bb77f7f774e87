// The numeric creators of nd_array_api: each is the frame around one construction.
//
// How complexity counts: a creator adds 32 to the class when complexity is exactly 1; the uninitialised double and numeric
// matrices add it for every value but 0.
#include "matrix/class_table.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/numeric_creation.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>

#include <array>
#include <cstring>

namespace matrix {

array_ptr create(std::span<const std::size_t> dims, ndClassID classId, ndComplexity complexity) {
    return detail::do_create_numeric(dims, internal::code_of(classId, complexity == ndCOMPLEX));
}

array_ptr create_cell(std::span<const std::size_t> dims) { return detail::do_create_cell(dims); }

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

constexpr std::array<std::size_t, 2> one_by_one{1, 1};

NdArrayTypeId code_if_one(ndClassID classId, ndComplexity complexity) noexcept {
    return code_of(classId, complexity == ndCOMPLEX);
}

NdArrayTypeId code_if_nonzero(ndClassID classId, std::int32_t complexity) noexcept {
    return code_of(classId, complexity != ndREAL);
}

ndArray_tag* zeroed(dims_view dims, NdArrayTypeId code) {
    return framed_creator([&] { return do_create_numeric(dims, code); });
}

ndArray_tag* uninitialized(dims_view dims, NdArrayTypeId code) {
    return framed_creator([&] { return do_create_uninitnumeric(dims, code); });
}

ndArray_tag* reusing(dims_view dims, NdArrayTypeId code, std::size_t count, ndArray_tag** candidates) {
    return framed_creator([&] { return create_with_reuse(dims, code, {candidates, count}); });
}

template <class T>
ndArray_tag* scalar(ndClassID classId, T value) {
    return framed_creator([&] {
        array_ptr array = do_create_numeric(one_by_one, code_of(classId, false));
        std::memcpy(array->pdata, &value, sizeof value);
        return array;
    });
}

} // namespace

ndArray_tag* ndCreateDoubleMatrix(std::size_t m, std::size_t n, ndComplexity complexity) {
    return ndCreateNumericMatrix(m, n, ndDOUBLE_CLASS, complexity);
}

ndArray_tag* ndCreateNumericMatrix(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity) {
    return zeroed(std::array{m, n}, code_if_one(classId, complexity));
}

ndArray_tag* ndCreateNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                  ndComplexity complexity) {
    return zeroed({dims, ndim}, code_if_one(classId, complexity));
}

ndArray_tag* ndCreateLogicalMatrix(std::size_t m, std::size_t n) {
    return ndCreateNumericMatrix(m, n, ndLOGICAL_CLASS, ndREAL);
}

ndArray_tag* ndCreateLogicalArray(std::size_t ndim, const std::size_t* dims) {
    return ndCreateNumericArray(ndim, dims, ndLOGICAL_CLASS, ndREAL);
}

ndArray_tag* ndCreateDoubleScalar(double value) { return scalar(ndDOUBLE_CLASS, value); }

ndArray_tag* ndCreateSingleScalar(float value) { return scalar(ndSINGLE_CLASS, value); }

ndArray_tag* ndCreateLogicalScalar(bool value) { return scalar(ndLOGICAL_CLASS, value); }

ndArray_tag* ndCreateNumericScalar(ndClassID classId, ndComplexity complexity) {
    return zeroed(one_by_one, code_if_one(classId, complexity));
}

ndArray_tag* ndCreateUninitDoubleMatrix(int complexFlag, std::size_t m, std::size_t n) {
    return uninitialized(std::array{m, n}, code_if_nonzero(ndDOUBLE_CLASS, complexFlag));
}

ndArray_tag* ndCreateUninitNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                         ndComplexity complexity) {
    return uninitialized(std::array{m, n}, code_if_nonzero(classId, complexity));
}

ndArray_tag* ndCreateUninitNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                        ndComplexity complexity) {
    return uninitialized({dims, ndim}, code_if_one(classId, complexity));
}

ndArray_tag* ndCreateNumericMatrixWithReuse(std::size_t m, std::size_t n, ndClassID classId,
                                            ndComplexity complexity, std::size_t count,
                                            ndArray_tag** candidates) {
    return reusing(std::array{m, n}, code_if_one(classId, complexity), count, candidates);
}

ndArray_tag* ndCreateNumericArrayWithReuse(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                           ndComplexity complexity, std::size_t count,
                                           ndArray_tag** candidates) {
    return reusing({dims, ndim}, code_if_one(classId, complexity), count, candidates);
}

ndArray_tag* ndCreateUninitNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                         ndComplexity complexity, std::size_t count,
                                         ndArray_tag** candidates) {
    return reusing(std::array{m, n}, code_if_nonzero(classId, complexity), count, candidates);
}

ndArray_tag* ndCreateUninitNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                        ndComplexity complexity, std::size_t count,
                                        ndArray_tag** candidates) {
    return reusing({dims, ndim}, code_if_one(classId, complexity), count, candidates);
}

ndArray_tag* ndCreateEmptyUnknownArrayNotOnArrayList() {
    return framed([] { return header_factory::make_blank().release(); });
}

ndArray_tag* ndCreateSharedCopyNotOnArrayList(const ndArray_tag* array) {
    return framed([&] { return do_shared_copy(array).release(); });
}

ndArray_tag* ndCreateReference(ndArray_tag* array) {
    if (array != nullptr) intrusive_ptr_add_ref(array);
    return array;
}

} // namespace matrix::detail::noninlined::nd_array_api
