// Vectors and matrices of plain elements that an engine lengthens, without subscripts. Spare room is that of assignment. Complexity comes
// first; it goes again where the growth fails.
#include "matrix/accessors.hpp"
#include "matrix/complexity.hpp"
#include "matrix/resize.hpp"
#include "matrix/size_check.hpp"

#include <nd/deletion.hpp>

#include <algorithm>
#include <array>

namespace matrix::internal {
namespace {

using matrix_dims = std::array<std::size_t, 2>;

// Makes an array complex for as long as nothing fails.
class inflation {
public:
    inflation(ndArray_tag* array, bool wanted) : array_(wanted && !is_complex(array) ? array : nullptr) {
        if (array_ != nullptr) inflate_to_complex(array_);
    }
    ~inflation() {
        if (array_ != nullptr) deflate_to_real(array_); // its block is its own: nothing to allocate
    }
    inflation(const inflation&) = delete;
    inflation& operator=(const inflation&) = delete;

    void stays() noexcept { array_ = nullptr; }

private:
    ndArray_tag* array_;
};

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

bool lengthen(ndArray_tag* array, kvSize m, kvSize n, kvSize length, bool make_complex) {
    inflation complex(array, make_complex);
    const bool result = lengthen(array, m, n, length);
    complex.stays();
    return result;
}

void enlarge(ndArray_tag* array, const matrix_dims& old_dims, const matrix_dims& new_dims) {
    if (new_dims == old_dims) return;
    const std::size_t count = checked_element_count(new_dims, stored_element_size(array));
    grow_data(array, {old_dims, old_dims[0] * old_dims[1], new_dims, count});
    store_dims(array, new_dims);
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

bool ndResizeDoubleVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex) {
    return lengthen(a, m, n, newLength, makeComplex);
}

bool ndResizeNumericVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex) {
    if (a->class_id == ndCHAR_CLASS) return lengthen(a, m, n, newLength, false);
    return is_numeric(code_of(a->class_id, false)) && lengthen(a, m, n, newLength, makeComplex);
}

void ndResizeDoubleMatrix(ndArray_tag* a, kvSize m, kvSize n, kvSize newM, kvSize newN, bool makeComplex) {
    inflation complex(a, makeComplex);
    enlarge(a, {m, n}, {std::max(m, newM), std::max(n, newN)});
    complex.stays();
}

} // namespace matrix::detail::noninlined::nd_array_api
