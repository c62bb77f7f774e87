// A right-hand side of two dimensions against two subscripts.
//
//   matrix   each subscript has the count of its dimension
//   vector   one subscript selects one position and the other has the length, whichever of them; a colon takes what is left
//   scalar   fits
#include <nd/assignment.hpp>

namespace matrix::detail::noninlined::nd_array_api {
namespace {

struct selection {
    kvSize rows;
    kvSize columns;
    bool row_colon;
    bool column_colon;

    bool fits_matrix(kvSize m, kvSize n) const noexcept {
        return (row_colon || rows == m) && (column_colon || columns == n);
    }

    bool fits_vector(kvSize m, kvSize n) const noexcept {
        if (!row_colon && !column_colon)
            return (rows == 1 && columns != 1 && columns == m * n) ||
                   (rows != 1 && columns == 1 && rows == m * n);
        const bool columns_fit = columns == 1 || columns == n;
        if (row_colon && columns_fit) return true;
        if (row_colon && !column_colon) return false;
        return rows == 1 || rows == m;
    }
};

} // namespace

int ndMatch2DIndicesForIndexedAssignment(kvSize* rowCount, kvSize* colCount, kvSize m, kvSize n,
                                         bool rowIsColon, bool colIsColon) {
    if (rowIsColon && colIsColon) {
        *rowCount = m;
        *colCount = n;
        return 1;
    }
    const selection selected{*rowCount, *colCount, rowIsColon, colIsColon};
    if (m != 1 && n != 1) {
        if (!selected.fits_matrix(m, n)) return 0;
    } else if (m != 1 || n != 1) {
        if (!selected.fits_vector(m, n)) return 0;
    }
    if (rowIsColon) *rowCount = selected.columns == 1 && m == 1 && n != 1 ? n : m;
    if (colIsColon) *colCount = selected.rows == 1 && m != 1 && n == 1 ? m : n;
    return 1;
}

} // namespace matrix::detail::noninlined::nd_array_api
