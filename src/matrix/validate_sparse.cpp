// The rules of sparse index vectors: ir, jc and nzmax, with the columns in compressed form.
//
// An array whose vectors are missing stores nothing: a skeleton copy, or a sharer that was emptied.
#include "matrix/dimensions.hpp"
#include "matrix/validate_rules.hpp"

#include <algorithm>
#include <functional>

namespace matrix::internal {
namespace {

using index_view = std::span<const std::uint64_t>;

index_view indices(std::uint64_t address, std::size_t count) noexcept {
    return {std::bit_cast<const std::uint64_t*>(address), count};
}

bool column_starts_are_sound(index_view jc, std::uint64_t nzmax) noexcept {
    return jc.front() == 0 && std::is_sorted(jc.begin(), jc.end()) && jc.back() <= nzmax;
}

bool rows_are_sound(index_view jc, index_view ir, std::uint64_t rows) noexcept {
    for (std::size_t column = 0; column + 1 < jc.size(); ++column) {
        const index_view in_column = ir.subspan(jc[column], jc[column + 1] - jc[column]);
        if (in_column.empty()) continue;
        if (in_column.back() >= rows) return false;
        if (std::adjacent_find(in_column.begin(), in_column.end(), std::greater_equal<>{}) !=
            in_column.end()) {
            return false;
        }
    }
    return true;
}

} // namespace

const char* broken_sparse_rule(const ndArray_tag* array) noexcept {
    if (array->info_a == 0) return nullptr;
    const std::uint64_t nzmax = array->info_c;
    const index_view jc = indices(array->info_b, array->n_or_ndims + 1);
    if (!column_starts_are_sound(jc, nzmax)) {
        return "column starts begin at 0, don't fall and end at nzmax or below";
    }
    if (!rows_are_sound(jc, indices(array->info_a, nzmax), array->m_or_dims)) {
        return "the rows in a column ascend and are below the number of rows";
    }
    return nullptr;
}

} // namespace matrix::internal
