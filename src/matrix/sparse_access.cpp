// The index vectors of a sparse array: who reads them, who puts others in their place, and the search in them.
//
// A setter stores the vector and frees nothing, as the setters of data do: a sharer first gets blocks of its own, and the vector
// leaves the alloc list, since the array frees it from now on. With private data it stays on the list: see destroy.cpp.
#include "matrix/dimensions.hpp"
#include "matrix/frame.hpp"
#include "matrix/size_limit.hpp"
#include "matrix/sparse_parts.hpp"
#include "matrix/unshare.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>
#include <nd/sparse.hpp>

namespace matrix {

using namespace internal;

namespace {

[[gnu::noinline, gnu::cold, noreturn]] void raise_out_of_range(const ndArray_tag* array,
                                                               std::uint64_t subscript) {
    errors::raise<TARVEL::matrix::indexExceedsDims>(subscript, dimension_text(dims_of(array)));
}

// The first of the places from lo to hi whose row isn't below row, or hi; the row at lo is below.
std::size_t search_column(const kvIndex* rows, std::size_t lo, std::size_t hi, kvIndex row) noexcept {
    while (hi - lo > 1) {
        const std::size_t mid = lo + (hi - lo) / 2;
        (rows[mid] < row ? lo : hi) = mid;
    }
    return hi;
}

void put_vector(ndArray_tag* array, index_vector which, kvIndex* vector) {
    if (!is_sparse(array)) return;
    std::uint64_t& word = which == index_vector::rows ? array->info_a : array->info_b;
    const auto now = std::bit_cast<std::uint64_t>(vector);
    if (now != word) unshare_for_vector(array, which);
    word = now;
    if ((array->flags & flag_data_private) == 0) removeFromAllocList(vector);
}

} // namespace

kvIndex find_sparse_k(const ndArray_tag* array, kvIndex row, kvIndex column) {
    const std::size_t columns = column_count(array);
    const kvIndex* const rows = row_indices(array);
    const std::size_t stored = rows == nullptr ? 0 : stored_count(array);
    if (row == 0 && column == columns) return stored;
    if (row >= row_count(array)) raise_out_of_range(array, 1);
    if (column >= columns) raise_out_of_range(array, 2);
    if (stored == 0) return 0;
    const kvIndex* const starts = column_starts(array);
    const std::size_t lo = starts[column];
    // Scans in ascending order ask for the front of a column most of the time.
    if (lo == stored || row <= rows[lo]) return lo;
    const std::size_t hi = starts[column + 1];
    return hi - lo < 2 ? hi : search_column(rows, lo, hi, row);
}

namespace detail::noninlined::nd_array_api {

kvIndex* ndGetIr(const ndArray_tag* array) { return row_indices(array); }
kvIndex* ndGetJc(const ndArray_tag* array) { return column_starts(array); }
kvSize ndGetNzmax(const ndArray_tag* array) { return is_sparse(array) ? array->info_c : 0; }

kvSize ndGetNumNonZeroEl(const ndArray_tag* array) {
    return is_sparse(array) ? stored_count(array) : ndGetNumberOfElements(array);
}

void ndSetIr(ndArray_tag* array, kvIndex* ir) {
    framed([=] { put_vector(array, index_vector::rows, ir); });
}

void ndSetJc(ndArray_tag* array, kvIndex* jc) {
    framed([=] { put_vector(array, index_vector::starts, jc); });
}

void ndSetNzmax(ndArray_tag* array, kvSize nzmax) {
    if (is_sparse(array)) array->info_c = nzmax;
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
