/*
 * nd/assignment.hpp: values stored into arrays through subscripts, for code in the engine's process: lhs(subs) = rhs.
 *
 * The left side is changed in place, through its header, which stays valid. The caller has unshared it (nd/share.hpp); it may be split, sparse
 * or a colon object. A sparse one stays sparse, and has the elements of further dimensions in further columns. The right-hand side is of
 * the left side's class: classes aren't converted here. It may be sparse or a colon object, and it may be the left side itself; data that
 * both share are the caller's fault. A complex right-hand side makes the left side complex, and when all imaginary parts are 0 afterwards
 * it becomes real.
 *
 * Subscripts are arrays as <nd/subscripts.hpp> tells them, with its errors. How many elements they select must be what the right-hand
 * side has, dimensions of 1 apart; a scalar goes to all of them. A scalar assigned to nothing changes nothing.
 *
 * The left side grows where subscripts lie outside, and new elements are zero, or empty slots. One subscript lengthens vectors along
 * themselves; a scalar, and what has no elements, becomes a row. A matrix can't grow through fewer subscripts than it has dimensions
 * when the last of these lies outside. An array that grows again and again keeps room to spare (ndGetCapacity).
 *
 * A left side gives way when it is empty and of class unknown, or marked as the literal empty bracket: it takes the class of the
 * right-hand side. An array that grows is no literal any more. Elements without data, of either side, count as zeros.
 *
 * A left side may be an element of its right-hand side, at whatever depth: a deep copy is stored then, so that nothing holds itself.
 *
 * All errors are raised as exceptions in every module mode, and leave the left side's value as it was; only what the class of an opaque array
 * does to it itself stays done, and elements that it has replaced before its failure in an array that doesn't grow.
 */
#ifndef ND_ASSIGNMENT_HPP
#define ND_ASSIGNMENT_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

/// A class for ndReInitArray2Type: the number of an ndClassID, plus 32 for complex elements.
enum ndArrayType : std::uint32_t {};

namespace matrix::detail::noninlined::nd_array_api {

/// lhs(subs) = rhs, as above. Raises, beside what subscripts raise:
///   TARVEL:subsassigndimmismatch  the subscripts select another shape than the right-hand side has
///   TARVEL:indexed_matrix_cannot_be_resized (TARVEL:matrix:ambiguousArrayGrowth)  no telling which dimension is to grow
///   TARVEL:legacy_two_part:invalidConversion  the right-hand side is of another class, or its class has its elements and the left
///                                             side's doesn't
///   TARVEL:legacy_two_part:err_non_scalar_function_handles  a function handle would get more than one element
///   TARVEL:pmaxsize, SizeLimitExceeded  the new size; out of memory
/// A struct or object is ndStructureAssignment's (nd/structures.hpp), also as the right-hand side of a left side that gives way. Where a
/// growing array of the opaque class "HOBJ" would get elements that the assignment doesn't store, std::bad_function_call is raised: the
/// next function is for that.
ND_EXPORT void ndSubscriptedAssignment(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                                       const ndArray_tag* rhs);

/// The same. grew tells whether the left side grew or gave way. filler, if it isn't empty, is asked for an array whose first
/// element is the value of new elements; it is called with the left side that grows, which it may share and
/// whose class its result has, and may return null for zeros. With resizeOnly the left side grows and nothing is stored. Structs
/// and objects know neither: their new elements are empty, and the value is stored.
/// The result is null but for a growing array of the opaque class "HOBJ" of which new elements remain that the assignment doesn't
/// store, or nothing is stored: then it is what filler returned, which fills nothing here; std::bad_function_call for an
/// empty filler. Raises what filler raises.
ND_EXPORT std::unique_ptr<ndArray_tag, ndDestroy_deleter> ndSubscriptedAssignmentWithFiller(
    bool& grew, ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs, const ndArray_tag* rhs,
    const std::function<std::unique_ptr<ndArray_tag, ndDestroy_deleter>(const ndArray_tag*)>& filler,
    bool resizeOnly);

/// One value into one element. subs: nsubs positions counted from 0. a has the class of the value, is unshared and neither sparse nor
/// a colon object. It grows as above, with the same errors. A real value makes the imaginary part 0; a complex one whose imaginary
/// part isn't 0 (NaN is not) makes a complex. No subscripts mean the first element; into an array that has none nothing is stored. Nothing
/// is allocated unless a grows, becomes complex, has no data, or is so large a complex array that threads look for imaginary parts
/// in it; where those can't be had it stays complex. Raises TARVEL:legacy_two_part:invalidInput for sparse arrays, colon objects,
/// slots, function handles, opaque arrays and elements that aren't as wide as the value.
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             signed char value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             unsigned char value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             short value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             unsigned short value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             int value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             unsigned int value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             long long value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             unsigned long long value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             float value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             double value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             bool value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             char16_t value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             const std::complex<float>& value);
ND_EXPORT void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                             const std::complex<double>& value);

/// Whether an m by n right-hand side fits two subscripts that select *rowCount rows and *colCount columns: 1 when it does, else 0. A
/// subscript that is a colon takes the length that fits, and its count is written: a row fits x(:,1). Nothing is written for
/// two subscripts of which neither is a colon, nor where the answer is 0.
ND_EXPORT int ndMatch2DIndicesForIndexedAssignment(kvSize* rowCount, kvSize* colCount, kvSize m, kvSize n,
                                                   bool rowIsColon, bool colIsColon);

/// A struct of one element as an array of the shape that subs select in lhs, with the same values in each element; value itself
/// where they select one element. Of a struct with several elements the first one is taken, and without any the slots are empty. A
/// colon over a dimension of 0 selects one element of a left side that has none. A new array is a temporary. Raises what subscripts
/// raise, TARVEL:legacy_two_part:invalidConversion for a value that is no struct or object where it would be repeated, TARVEL:pmaxsize
/// and SizeLimitExceeded; out of memory.
ND_EXPORT ndArray_tag* ndScalarExpan(ndArray_tag* value, ndArray_tag* lhs, ndArray_tag* const* subs,
                                     std::size_t nsubs);

/// Gives the array these n dimensions; elements keep their positions along each of them. With as many elements as it has, nothing happens,
/// whatever the shape asked for. With one dimension that isn't 1 the elements keep their order, and the result is a vector along
/// the dimension of the old one, or a row. Elements that have no place any more are destroyed. The array is unshared. Raises
/// TARVEL:legacy_two_part:invalidInput for a sparse array, a colon object and one whose class has its elements,
/// TARVEL:legacy_two_part:err_non_scalar_function_handles, TARVEL:pmaxsize and SizeLimitExceeded; out of memory; the array is then
/// unchanged. Elements end when the array has its new shape.
ND_EXPORT void ndResizeArray(ndArray_tag* a, kvSize n, const kvSize* dims);

/// A fresh start for a header: its contents are destroyed, and it is 1x1 of the class, without data and with no flag of the old
/// value. Owners, scope and container stay. A type of no class gives class unknown. An object is told to the object hook; what that
/// raises goes on, and leaves a struct.
ND_EXPORT void ndReInitArray2Type(ndArray_tag* a, ndArrayType type);

} // namespace matrix::detail::noninlined::nd_array_api

#endif
