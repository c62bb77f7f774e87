/*
 * nd/reference.hpp: parts of arrays by subscripts, x(i), x(i, j) and so on, and where a single slot of a cell or struct lies.
 *
 * Subscripts are arrays as <nd/subscripts.hpp> tells them, with its errors. With fewer of them than the array has dimensions the last one counts
 * through that and all that follow; with more, the dimensions behind are 1.
 *
 * The shape of x(i, j, ...) is how many positions each subscript selects. That of x(s):
 *
 *   the colon       a column of all elements
 *   colon object    along x where that is a vector, else a row
 *   logical         0x0 when nothing is selected by a 1x1 or 0x0 subscript; else along x where that is a vector, or else along the
 *                   subscript where that is one, or else a column
 *   numeric, char   along x where both are vectors, else the shape of the subscript
 *   any other       0x0
 *
 * Any thread may call; an array is used by one thread at a time.
 */
#ifndef ND_REFERENCE_HPP
#define ND_REFERENCE_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>
#include <nd/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// What a look for one element says.
enum ndScalarRefConstResult : std::int32_t {
    ndSCALAR_REF_IN_RANGE = 0, ///< the offset was written
    ndSCALAR_REF_EXCEEDS = 1   ///< a subscript exceeds its dimension
};

namespace matrix {

/// The elements of a that subs, at least one, select: a new array of the same class, local and on no list. Elements of cells, structs
/// and objects are shared with a. A complex array whose selected elements are all real gives a real one; a colon object stands for
/// its elements. A sparse array gives a sparse one; where that would have more than two dimensions, a full one, and so do more than
/// two subscripts of one that was given more than two dimensions.
/// Raises what the subscripts raise; TARVEL:badsubscript (TARVEL:matrix:indexExceedsDims) for a position outside a; TARVEL:pmaxsize and
/// SizeLimitExceeded for the result; TARVEL:nomem; TARVEL:legacy_two_part:nindexIsZero without subscripts, and invalidInput of that
/// group where the class of an indexing-opaque array can't tell its elements. a is unchanged then.
ND_EXPORT array_ptr subscriptedReference(const ndArray_tag& a, std::span<const ndArray_tag* const> subs);

namespace detail::noninlined::nd_array_api {

/// matrix::subscriptedReference with a temporary as its result. Errors are exceptions in every module mode.
ND_EXPORT ndArray_tag* ndSubscriptedReference(const ndArray_tag* a, std::size_t nsubs,
                                              const ndArray_tag* const* subs);

/* Where one slot lies. Each subscript stands for a single index: a number its first element, the colon 1, a colon object its first value,
 * a logical array the place of its first true element. The caller sees to it that there is one. Of a sparse array the element in its
 * first row and column is the one; a logical one may have it anywhere. field is 0, or the number of a field of a struct, counted from
 * 1: the offset is then that of the field's slot; any other array has no fields. Offsets count slots from 0. A logical array without a
 * true element, and a full real array without elements, give index 0: the offset is one before the dimension begins, which callers exclude.
 * Without elements, a sparse or a complex array raises as no index, and a colon object still has its first value.
 *
 * All raise TARVEL:legacy_two_part:nindexIsZero for no subscripts, and what <nd/subscripts.hpp> tells for what is no index. */

/// The slot of a that is going to be written; a is a cell, or with a field a struct or an object. Subscripts beyond a make it grow, with
/// spare room; grew tells. Without a field an empty array of another class, [] too, becomes a cell when it grows; with one the class stays
/// as it is, and what has no fields doesn't grow. The new slots are null. keepData: the present slots go to their places in the new shape; otherwise they stay where they
/// lie. The caller has unshared a.
/// Raises TARVEL:indexed_matrix_cannot_be_resized (TARVEL:matrix:ambiguousArrayGrowth) where fewer subscripts than dimensions would have to let
/// the last one grow; TARVEL:pmaxsize and SizeLimitExceeded for the new size; TARVEL:legacy_two_part:invalidInput
/// where a would have to grow and is a struct or object without a field, or has elements and isn't a cell;
/// TARVEL:legacy_two_part:badargs for a field that a doesn't have; out of memory. a is unchanged then.
ND_EXPORT kvIndex ndScalarRef(ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs,
                              std::size_t field, bool keepData, bool& grew);

/// The slot of a that is going to be read. When a subscript exceeds its dimension *offset stays, and failedSubscript is the number of
/// the first one, counted from 1; with a field that is number 1 itself. An index that is too large is told as one that exceeds.
ND_EXPORT ndScalarRefConstResult ndScalarRefConst(kvIndex* offset, const ndArray_tag* a, std::size_t nsubs,
                                                  const ndArray_tag* const* subs, std::size_t field);
ND_EXPORT ndScalarRefConstResult ndScalarRefConst(kvIndex* offset, kvSize& failedSubscript,
                                                  const ndArray_tag* a, std::size_t nsubs,
                                                  const ndArray_tag* const* subs, std::size_t field);

/// The same for a slot that is going to be assigned to: an index that is too large raises TARVEL:pmaxsize.
ND_EXPORT ndScalarRefConstResult ndScalarRefForAssignment(kvIndex* offset, kvSize& failedSubscript,
                                                          const ndArray_tag* a, std::size_t nsubs,
                                                          const ndArray_tag* const* subs, std::size_t field);

/// How many elements subscript number position, counted from 1, of nsubs selects; whether it fits the array isn't asked. False, with
/// *count 0, for a class that can't be a subscript. Nothing is written for the colon at a position above nsubs. A colon object a is the
/// row that it stands for. A full logical array without data has no true element.
/// Raises what counting a colon object raises.
ND_EXPORT bool ndSubsCount(const ndArray_tag* a, const ndArray_tag* subscript, kvSize position, kvSize nsubs,
                           kvSize* count);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
