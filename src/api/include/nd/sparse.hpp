/*
 * nd/sparse.hpp: sparse arrays, which store their nonzero elements column by column.
 *
 * Two-dimensional, of class double, single or logical. Beside the values (ndGetData) stand
 *   ir     the zero-based row of each value, ascending in a column
 *   jc     where each column starts in both, and behind the last column the number of stored values
 *   nzmax  how many values the blocks of values and of rows have room for, at least 1 in a new array
 * Setting dimensions leaves all three alone: with more than two of them the array is the matrix of its columns. Where one of the
 * blocks is missing references and conversions take every element as zero.
 * An array made from a full one stores no zero. Converting and dropping the imaginary part may leave zeros stored; a comparison
 * with a full array then finds a difference.
 *
 * An array is used by one thread at a time. Shared copies share the three blocks; whoever writes to them unshares first.
 */
#ifndef ND_SPARSE_HPP
#define ND_SPARSE_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix {

/// The place among the stored values of the first one at or behind (row, column), counted from 0 in storage order: columns one
/// after the other, ascending rows. Row 0 of the column behind the last one gives the number of stored values; any other element
/// outside the array raises TARVEL:matrix:indexExceedsDims, in every module mode, with the number of the subscript and the
/// dimensions. O(1) at the front of a column, else logarithmic in what the column stores.
ND_EXPORT kvIndex find_sparse_k(const ndArray_tag* array, kvIndex row, kvIndex column);

namespace detail {

/// An m by n array without a stored element and with room for nzmax of them, 0 meaning 1. complexity counts when it is exactly
/// ndCOMPLEX, and not for logical arrays, which are real. zeroed clears values and rows too; column starts always are.
/// Raises as a creator does (nd/create.hpp; the bytes are those of all three blocks), and
/// TARVEL:legacy_two_part:unimplementedSparseType for a class without sparse form.
ND_EXPORT array_ptr do_create_sparse(std::size_t m, std::size_t n, std::size_t nzmax, ndClassID classId,
                                     ndComplexity complexity, bool zeroed);

namespace noninlined::nd_array_api {

/* The same with zeroed blocks, as a temporary. Errors are exceptions when matrix::initModule ran with mode 1; in any other mode
 * the result is null. */

/// Of class double.
ND_EXPORT ndArray_tag* ndCreateSparse(std::size_t m, std::size_t n, std::size_t nzmax,
                                      ndComplexity complexity);
/// Of class logical.
ND_EXPORT ndArray_tag* ndCreateSparseLogicalMatrix(std::size_t m, std::size_t n, std::size_t nzmax);
/// Of a class that has a sparse form.
ND_EXPORT ndArray_tag* ndCreateSparseNumericMatrix(std::size_t m, std::size_t n, std::size_t nzmax,
                                                   ndClassID classId, ndComplexity complexity);

/* Of an array that isn't sparse ndGetIr and ndGetJc give null, ndGetNzmax gives 0 and ndGetNumNonZeroEl all elements; the setters
 * leave it alone. */

/// The rows, nzmax of them, and the column starts, one more than there are columns. They belong to the array and are valid till
/// its data or vectors change; null where they are missing, as in a skeleton copy.
ND_EXPORT kvIndex* ndGetIr(const ndArray_tag* array);
ND_EXPORT kvIndex* ndGetJc(const ndArray_tag* array);

/// Room for elements.
ND_EXPORT kvSize ndGetNzmax(const ndArray_tag* array);

/// Elements that are stored; of a full array all elements.
ND_EXPORT kvSize ndGetNumNonZeroEl(const ndArray_tag* array);

/// Stores another vector and frees nothing: the old one is the caller's, to free with ndFree, unless arrays that share it go on
/// using it. An array that shares its data, or whose data are lent, gets blocks of its own first, which may raise std::bad_alloc:
/// nothing has changed then. The new vector comes from ndMalloc or its kin and belongs to the array, which takes it off the list
/// of an addon function's blocks, unless the data of the array are private: then it stays there and is the caller's, who keeps it as
/// long as the array has it. What it says isn't tested.
/// Blocks of its own hold what the shared ones did, but for the vector that is replaced. Values, rows and column starts are told by the
/// number of columns: where that has changed while the array shares its data, ndSetJc comes before ndSetIr and ndSetData.
ND_EXPORT void ndSetIr(ndArray_tag* array, kvIndex* ir);
ND_EXPORT void ndSetJc(ndArray_tag* array, kvIndex* jc);

/// Says how much room there is. Nothing is allocated or tested: whoever calls has made values and rows that long before. Copies have
/// as much room, and raise foundation::core::except::bad_alloc where there isn't so much memory.
ND_EXPORT void ndSetNzmax(ndArray_tag* array, kvSize nzmax);

} // namespace noninlined::nd_array_api
} // namespace detail
} // namespace matrix

#endif
