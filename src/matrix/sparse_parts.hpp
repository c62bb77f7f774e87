// Sparse storage as it stands in a header: values in pdata, ir, jc and nzmax in the words for the class.
//
//   pdata  nzmax values, column by column, by ascending row in a column; complex ones interleaved, a logical one is a byte
//   ir     nzmax zero-based rows, one for each value
//   jc     a start for each column and one behind the last, which is the number of stored values
//
// A header whose vectors are missing stores nothing: a skeleton copy, or a sharer that was emptied. So does one that isn't
// sparse at all. Whoever changes dimensions leaves the vectors alone: with more than two of them the array is the matrix of its
// columns, of which jc still tells.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <bit>

namespace matrix::internal {

/// The classes with a sparse form. Whether singles may be made sparse is up to a feature (ops/sparse_conversion.hpp).
constexpr bool may_be_sparse(std::int32_t class_id) noexcept {
    return class_id == ndDOUBLE_CLASS || class_id == ndSINGLE_CLASS || class_id == ndLOGICAL_CLASS;
}

inline bool is_sparse(const ndArray_tag* array) noexcept { return (array->flags & flag_sparse) != 0; }

/// The words of a sparse header.
inline kvIndex* row_indices(const ndArray_tag* array) noexcept {
    return is_sparse(array) ? std::bit_cast<kvIndex*>(array->info_a) : nullptr;
}
inline kvIndex* column_starts(const ndArray_tag* array) noexcept {
    return is_sparse(array) ? std::bit_cast<kvIndex*>(array->info_b) : nullptr;
}

/// Rows and columns; all dimensions behind the first count as columns.
inline std::size_t row_count(const ndArray_tag* array) noexcept { return dims_of(array)[0]; }
inline std::size_t column_count(const ndArray_tag* array) noexcept {
    if (has_inline_dims(array)) return array->n_or_ndims;
    std::size_t columns = 1;
    for (const std::size_t dim : dims_of(array).subspan(1)) columns *= dim;
    return columns;
}

/// Values that are stored.
inline std::size_t stored_count(const ndArray_tag* array) noexcept {
    const kvIndex* const starts = column_starts(array);
    return starts == nullptr ? 0 : starts[column_count(array)];
}

/// Stored values that are there to be read. Setters take null in the place of a block: the elements are then zero, as those of a
/// full array without data are. Without rows there are no elements, whatever is stored still.
inline std::size_t readable_count(const ndArray_tag* array) noexcept {
    const bool has_blocks = array->pdata != nullptr && row_indices(array) != nullptr;
    return has_blocks && row_count(array) != 0 ? stored_count(array) : 0;
}

} // namespace matrix::internal
