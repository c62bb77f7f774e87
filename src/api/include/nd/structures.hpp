/*
 * nd/structures.hpp: elements and fields of struct and object arrays by subscripts, for code in the engine's process.
 *
 * A struct array has one slot for each element and field, fields fastest. To subscripts that is an array with one dimension more than
 * they name, the fields, which comes first: s(i) takes that dimension whole, s(i).f one position of it. Fields count from 1 here, and
 * 0 stands for all of them.
 *
 * Subscripts are arrays as <nd/subscripts.hpp> tells them, with its errors. Values of fields are shared, never copied. All errors are
 * raised as exceptions in every module mode.
 */
#ifndef ND_STRUCTURES_HPP
#define ND_STRUCTURES_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <cstddef>
#include <span>

namespace matrix {

/// The elements of a struct or object array that subs, at least one, select. Of all fields (field 0): an array of the same class with
/// the same fields. Of one field: a cell of its values. An empty slot stays empty. One subscript for all fields gives the
/// shape that subscripted reference tells; otherwise the result has as many elements along each dimension as the subscript
/// selects there. The result is local and on no list.
/// Raises what the subscripts raise, TARVEL:badsubscript (TARVEL:matrix:indexExceedsDims) for a position outside the array,
/// TARVEL:badargs for a field that the array hasn't got, TARVEL:invalidConversion for an array of another class,
/// TARVEL:nindexIsZero without subscripts, TARVEL:pmaxsize and SizeLimitExceeded for the result; out of memory.
ND_EXPORT array_ptr structureReference(const ndArray_tag& s, std::span<const ndArray_tag* const> subs,
                                       std::size_t field);

namespace detail::noninlined::nd_array_api {

/// matrix::structureReference with a temporary as its result.
ND_EXPORT ndArray_tag* ndStructureReference(const ndArray_tag* s, std::size_t nsubs,
                                            const ndArray_tag* const* subs, std::size_t field);

/// lhs(subs) = rhs, or lhs(subs).f = rhs for field f. lhs is a struct or object array, or an empty one that gives way to the class of
/// rhs: of class unknown, or marked as the empty bracket. The caller has unshared it. It grows where the subscripts lie outside, new
/// slots are empty, and grew tells whether it did or gave way; after a failure it is false.
/// Without a field rhs is a struct or object array with as many fields; they are stored by position, and ordering them is the
/// caller's. With a field rhs is a cell of values. Their shape fits the subscripts as in subscripted assignment; one element
/// goes to all places. rhs stays the caller's.
/// Raises what the subscripts raise; TARVEL:subsassigndimmismatch where the shapes don't fit; TARVEL:indexed_matrix_cannot_be_resized
/// (TARVEL:matrix:ambiguousArrayGrowth) where fewer subscripts than dimensions would have to let the last one grow;
/// TARVEL:nindexIsZero without subscripts; TARVEL:badargs for a field that lhs hasn't got;
/// TARVEL:invalidConversion for a right-hand side of another class or another number of fields;
/// TARVEL:pmaxsize and SizeLimitExceeded for the new size; out of memory. lhs then has the value that it had.
ND_EXPORT void ndStructureAssignment(bool& grew, ndArray_tag* lhs, std::size_t nsubs,
                                     const ndArray_tag* const* subs, const ndArray_tag* rhs,
                                     std::size_t field);

/// The value of the word "end" in subscript number position, counted from 1, of nsubs: the size of that dimension; in the last
/// subscript the product of it and all dimensions behind. 1 beyond the dimensions of the array.
ND_EXPORT double ndGetEnd(const ndArray_tag* a, kvSize position, kvSize nsubs);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
