// The numeric creators of nd_array_api: each is the frame around one construction.
//
// How complexity counts: a creator adds 32 to the class when complexity is exactly 1; the uninitialised double and numeric
// matrices add it for every value but 0.
#include "matrix/array_cache.hpp"
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

ndArray_tag* framed_numeric(dims_view dims, NdArrayTypeId code, DataInitialization init) {
    return framed_creator([&] { return create_numeric(dims, code, init); });
}

// What the cache has no pair for. A plain block of its own still needs no more than one construction in one pass.
[[gnu::noinline]] ndArray_tag* matrix_without_pair(std::size_t m, std::size_t n, NdArrayTypeId code,
                                                   DataInitialization init) {
    if (cache_is_enabled() || !has_plain_elements(class_of(code)))
        return framed_numeric(std::array{m, n}, code, init);
    ndArray_tag* const result = framed([&] { return create_plain_matrix(m, n, code, init); });
    return result == nullptr ? nullptr : as_temporary(result);
}

// The way that most arrays of a program take: inlined, it's a few loads and stores around a list operation.
[[gnu::always_inline]] inline ndArray_tag* matrix(std::size_t m, std::size_t n, NdArrayTypeId code,
                                                  DataInitialization init) {
    ndArray_tag* const pair = take_ready_pair(code, m, n, init);
    return pair != nullptr ? as_temporary(pair) : matrix_without_pair(m, n, code, init);
}

constexpr auto zeroed = DataInitialization::zeroed;
constexpr auto uninitialized = DataInitialization::uninitialized;

ndArray_tag* reusing(dims_view dims, NdArrayTypeId code, std::size_t count, ndArray_tag** candidates) {
    return framed_creator([&] { return create_with_reuse(dims, code, {candidates, count}); });
}

// The value is stored before the scope changes: nothing can fail between there and the caller.
template <class T>
ndArray_tag* scalar(ndClassID classId, T value) {
    const NdArrayTypeId code = code_of(classId, false);
    if (ndArray_tag* const pair = take_ready_pair(code, 1, 1, zeroed)) {
        std::memcpy(pair->pdata, &value, sizeof value);
        return as_temporary(pair);
    }
    return framed_creator([&] {
        array_ptr array = do_create_numeric(one_by_one, code);
        std::memcpy(array->pdata, &value, sizeof value);
        return array;
    });
}

} // namespace

ndArray_tag* ndCreateDoubleMatrix(std::size_t m, std::size_t n, ndComplexity complexity) {
    // Two calls, so that real doubles get a copy of the short way with their constants folded in.
    if (complexity == ndCOMPLEX) return matrix(m, n, code_of(ndDOUBLE_CLASS, true), zeroed);
    return matrix(m, n, code_of(ndDOUBLE_CLASS, false), zeroed);
}

ndArray_tag* ndCreateNumericMatrix(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity) {
    return matrix(m, n, code_if_one(classId, complexity), zeroed);
}

ndArray_tag* ndCreateNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                  ndComplexity complexity) {
    return framed_numeric({dims, ndim}, code_if_one(classId, complexity), zeroed);
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
    return matrix(1, 1, code_if_one(classId, complexity), zeroed);
}

ndArray_tag* ndCreateUninitDoubleMatrix(int complexFlag, std::size_t m, std::size_t n) {
    if (complexFlag != 0) return matrix(m, n, code_of(ndDOUBLE_CLASS, true), uninitialized);
    return matrix(m, n, code_of(ndDOUBLE_CLASS, false), uninitialized);
}

ndArray_tag* ndCreateUninitNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                         ndComplexity complexity) {
    return matrix(m, n, code_if_nonzero(classId, complexity), uninitialized);
}

ndArray_tag* ndCreateUninitNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                        ndComplexity complexity) {
    return framed_numeric({dims, ndim}, code_if_one(classId, complexity), uninitialized);
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
