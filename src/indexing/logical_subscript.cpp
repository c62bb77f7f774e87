// Logical subscripts as lists of the positions of their true elements.
//
// A sparse one stores its true elements. Its places are counted over all its columns and may lie beyond every index; columns that
// begin there can't be reached and are looked at only for whether they store anything.
#include "indexing/kernel_choice.hpp"
#include "indexing/subscript_lists.hpp"
#include "indexing/subscript_value.hpp"

#include "matrix/dimensions.hpp"
#include "matrix/sparse_parts.hpp"

#include <string>

namespace matrix::internal {
namespace {

using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

index_list full_positions(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    const std::size_t elements = element_count(subscript);
    if (elements == 0) return {};
    if (subscript->pdata == nullptr) handler.ThrowInvalidIndexError();
    const auto* const bytes = static_cast<const std::uint8_t*>(subscript->pdata);
    const subscript_kernels& kernels = subscript_loops_here();
    const std::size_t count = kernels.count_true(bytes, elements);
    if (count == 0) return {};
    index_list list{make_index_block(count), count, 0};
    kernels.true_positions(bytes, list.positions.get(), count);
    list.max = list.positions[count - 1] + 1;
    return list;
}

// How many columns hold all that is stored and begin within the index space.
std::size_t reachable_columns(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    const std::size_t columns = column_count(subscript);
    const std::size_t within = index_limit / row_count(subscript) + 1;
    if (columns <= within) return columns;
    const kvIndex* const starts = column_starts(subscript);
    if (starts[within] != starts[columns])
        handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::logical);
    return within;
}

index_list sparse_positions(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    const std::size_t count = stored_count(subscript);
    const std::size_t rows = row_count(subscript);
    if (count == 0 || rows == 0) return {};
    if (row_indices(subscript) == nullptr) handler.ThrowInvalidIndexError();
    const std::size_t columns = reachable_columns(subscript, handler);
    const kvIndex* const row_of = row_indices(subscript);
    const kvIndex* const starts = column_starts(subscript);
    index_list list{make_index_block(count), count, 0};
    for (std::size_t column = 0; column < columns && starts[column] < count; ++column) {
        for (std::size_t k = starts[column]; k < starts[column + 1]; ++k)
            list.positions[k] = row_of[k] + column * rows;
    }
    list.max = list.positions[count - 1] + 1;
    if (list.max > index_limit)
        handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::logical, std::to_string(list.max));
    return list;
}

} // namespace

index_list logical_positions(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    return is_sparse(subscript) ? sparse_positions(subscript, handler) : full_positions(subscript, handler);
}

} // namespace matrix::internal
