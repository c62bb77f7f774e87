// Vectors and matrices of plain elements that an engine lengthens, without subscripts. Spare room is that of assignment. Complexity comes
// first.
#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/complexity.hpp"
#include "matrix/resize.hpp"
#include "matrix/size_check.hpp"

#include <nd/create.hpp>
#include <nd/deletion.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <array>

namespace matrix::internal {
namespace {

// One block, with the elements as the dimensions tell.
bool is_laid_out_in_full(const ndArray_tag* array) noexcept {
    return has_plain_elements(array->class_id) && (array->flags & (flag_sparse | flag_colon_object)) == 0;
}

using matrix_dims = std::array<std::size_t, 2>;

// The array is no literal any more. Two dimensions need no block.
void store_dims(ndArray_tag* array, const matrix_dims& dims) noexcept {
    prepared_dims(dims).commit_to(array);
    array->flags &= ~flag_empty_square_bracket;
}

bool lengthen(ndArray_tag* array, kvSize m, kvSize n, kvSize length) {
    const std::size_t old_count = m * n;
    if (length <= old_count) return true;
    const bool is_row = m <= 1;
    if (!is_row && n != 1) return false;
    const std::array old_dims{old_count};
    const std::array new_dims{length};
    checked_element_count(new_dims, stored_element_size(array));
    grow_data(array, {old_dims, old_count, new_dims, length});
    store_dims(array, is_row ? matrix_dims{1, length} : matrix_dims{length, 1});
    return true;
}

void enlarge(ndArray_tag* array, const matrix_dims& old_dims, const matrix_dims& new_dims) {
    if (new_dims == old_dims) return;
    const std::size_t count = checked_element_count(new_dims, stored_element_size(array));
    grow_data(array, {old_dims, old_dims[0] * old_dims[1], new_dims, count});
    store_dims(array, new_dims);
}

// grow(array), after a real array has become complex where that is wanted. That happens aside, so that a failure of either leaves the array
// as it is.
template <class Grow>
bool grow_with_complexity(ndArray_tag* array, bool make_complex, Grow grow) {
    if (!make_complex || is_complex(array)) return grow(array);
    array_ptr complex = matrix::detail::do_deep_copy(array);
    inflate_to_complex(complex.get());
    const bool result = grow(complex.get());
    matrix::detail::noninlined::nd_array_api::ndMoveArrayOntoHeader(array, complex.release());
    return result;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

bool ndResizeDoubleVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex) {
    if (!is_laid_out_in_full(a)) return false;
    return grow_with_complexity(a, makeComplex,
                                [=](ndArray_tag* array) { return lengthen(array, m, n, newLength); });
}

bool ndResizeNumericVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex) {
    if (a->class_id == ndCHAR_CLASS) return ndResizeDoubleVector(a, m, n, newLength, false);
    return is_numeric(code_of(a->class_id, false)) && ndResizeDoubleVector(a, m, n, newLength, makeComplex);
}

void ndResizeDoubleMatrix(ndArray_tag* a, kvSize m, kvSize n, kvSize newM, kvSize newN, bool makeComplex) {
    if (!is_laid_out_in_full(a)) errors::raise<TARVEL::legacy_two_part::invalidInput>();
    grow_with_complexity(a, makeComplex, [=](ndArray_tag* array) {
        enlarge(array, {m, n}, {std::max(m, newM), std::max(n, newN)});
        return true;
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
