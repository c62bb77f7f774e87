// Sparse storage as it stands in a header: values in pdata, ir, jc and nzmax in the words for the class.
//
//   pdata  nzmax values, column by column, by ascending row in a column; complex ones interleaved, a logical one is a byte
//   ir     nzmax zero-based rows, one for each value
//   jc     a start for each column and one behind the last, which is the number of stored values
//
// A header whose vectors are missing stores nothing: a skeleton copy, or a sharer that was emptied. So does one that isn't
// sparse at all.
#pragma once

#include "matrix/class_table.hpp"

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

/// Values that are stored.
inline std::size_t stored_count(const ndArray_tag* array) noexcept {
    const kvIndex* const starts = column_starts(array);
    return starts == nullptr ? 0 : starts[array->n_or_ndims];
}

} // namespace matrix::internal
