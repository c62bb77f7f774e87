/*
 * nd/colon.hpp: the colon operator start:step:stop, for code in the engine's process.
 *
 * The range is a row vector of one class: double, single, char or an integer class. It comes expanded, as an ordinary 1-by-n array,
 * or as a colon object: an array with flag_colon_object that stores the three operands only, at most 32 bytes, and stands for the
 * whole vector. Dimensions and data of a colon object are those of its operands; operations that want its value expand it.
 * Operations that take it as a subscript don't.
 *
 * Elements
 *   double, single     start, start + step, ... as far as stop. An end that misses stop by rounding is stop exactly, and the elements
 *                      of the second half are computed from it. All arithmetic is done in doubles; singles are rounded when they are
 *                      stored. Whole operands up to 2^53 give exact elements. A NaN operand gives one NaN, of class double unless the
 *                      class is single: also for char and the integer classes
 *   char, int8 ...     the same count, and elements start, start + step, ... without fractions, modulo the width of the class:
 *     uint32           operands are meant to have passed ndGetColonArgValues
 *   int64, uint64      exact over the whole range of the class. A double step counts without its fraction; one that is too large for
 *                      the class reaches one further element at most; NaN reaches none
 * A step of 0, and one that leads away from stop, give a range without elements: 1-by-0.
 *
 * Creators with an owning result raise, before anything is allocated, TARVEL:pmaxsize and SizeLimitExceeded (as for an n-by-1 array),
 * then std::bad_alloc and foundation::core::except::bad_alloc. Those with a plain result give a temporary; errors are exceptions
 * in module mode 1, in any other mode the result is null. What the other functions raise leaves in every mode.
 *
 * Any thread may call. Results belong to the caller; operands are read and left alone.
 */
#ifndef ND_COLON_HPP
#define ND_COLON_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix {

/// The expanded vector. An empty pointer for a class without ranges. For int64 and uint64 start and stop are cut off and held to
/// the limits of the class first.
ND_EXPORT array_ptr create_colon_array(double start, double step, double stop, ndClassID cls);

/// The range as a colon object of class double, or of the class: char, single, double, int8 to uint32; an empty pointer for any
/// other. start and stop of char and the integer classes are cut off and held to the limits of the class, those of single rounded.
ND_EXPORT array_ptr create_colon_object(double start, double step, double stop);
ND_EXPORT array_ptr create_colon_object(double start, double step, double stop, ndClassID cls);

/// The expanded vector of class int64 (signed operands) or uint64 (unsigned ones). An unsigned range goes down by a negative double
/// step only.
ND_EXPORT array_ptr create_int_colon_array(long long start, long long step, long long stop);
ND_EXPORT array_ptr create_int_colon_array(long long start, double step, long long stop);
ND_EXPORT array_ptr create_int_colon_array(unsigned long long start, unsigned long long step,
                                           unsigned long long stop);
ND_EXPORT array_ptr create_int_colon_array(unsigned long long start, double step, unsigned long long stop);

/// The same ranges as colon objects. cls is the class of the operands, ndINT64_CLASS or ndUINT64_CLASS; any other gives an empty
/// pointer.
ND_EXPORT array_ptr create_int_colon_object(long long start, long long step, long long stop, ndClassID cls);
ND_EXPORT array_ptr create_int_colon_object(long long start, double step, long long stop, ndClassID cls);
ND_EXPORT array_ptr create_int_colon_object(unsigned long long start, unsigned long long step,
                                            unsigned long long stop, ndClassID cls);
ND_EXPORT array_ptr create_int_colon_object(unsigned long long start, double step, unsigned long long stop,
                                            ndClassID cls);

/// The vector that a colon object stands for. Any other array stands for itself: the result is a copy that shares its data, or has
/// its own where they are private. Null gives an empty pointer.
ND_EXPORT array_ptr expand_colon_object(const ndArray_tag* object);

namespace detail::noninlined::nd_array_api {

/* The creators above with a temporary as result, in their order. */

ND_EXPORT ndArray_tag* ndColonop(double start, double step, double stop, ndClassID cls);
ND_EXPORT ndArray_tag* ndCreateColonObj(double start, double step, double stop);
ND_EXPORT ndArray_tag* ndCreateColonObject(double start, double step, double stop, ndClassID cls);
ND_EXPORT ndArray_tag* ndExpandIntColonArray(long long start, long long step, long long stop);
ND_EXPORT ndArray_tag* ndExpandIntColonArray(long long start, double step, long long stop);
ND_EXPORT ndArray_tag* ndExpandIntColonArray(unsigned long long start, unsigned long long step,
                                             unsigned long long stop);
ND_EXPORT ndArray_tag* ndExpandIntColonArray(unsigned long long start, double step, unsigned long long stop);
ND_EXPORT ndArray_tag* ndCreateIntColonObject(long long start, long long step, long long stop, ndClassID cls);
ND_EXPORT ndArray_tag* ndCreateIntColonObject(long long start, double step, long long stop, ndClassID cls);
ND_EXPORT ndArray_tag* ndCreateIntColonObject(unsigned long long start, unsigned long long step,
                                              unsigned long long stop, ndClassID cls);
ND_EXPORT ndArray_tag* ndCreateIntColonObject(unsigned long long start, double step, unsigned long long stop,
                                              ndClassID cls);
ND_EXPORT ndArray_tag* ndExpandColonObj(const ndArray_tag* object);

/* Counts and elements without an array. */

/// The number of elements; NaN when an operand is NaN and when both ends are the same infinity. May be infinite. cls matters as
/// single or any other: by the slack that an end has. Raises nothing.
ND_EXPORT double ndColonop_size(double start, double step, double stop, ndClassID cls);

/// Writes the elements of a range whose number is count, as ndColonop_size tells it. out has room for as many. A fraction of count
/// is cut off, and NaN writes nothing. Raises boost::numeric::negative_overflow from -1 down, boost::numeric::positive_overflow
/// from 2^64 up.
ND_EXPORT void ndColonop_fill_with_doubles(double* out, double count, double start, double step, double stop);
ND_EXPORT void ndColonop_fill_with_singles(float* out, double count, double start, double step, double stop);

/* Colon objects. ndIsColonObj (nd/access.hpp) tells of the mark alone. These functions ask for more: an array that has it, but lost its data
 * or was given other dimensions than those of operands, is an array like any other to them. */

/// The number of elements that a colon object stands for, at most 2^48 - 1, or that any other array has.
ND_EXPORT kvSize ndCountColonObj(const ndArray_tag* array);

/// The same of a colon object with whole operands that is used as a subscript: they are held to 32 bits first, and a count above
/// 2^31 - 1 wraps, then is extended by its sign. Raises TARVEL:colon:nonFiniteEndpoint for an operand that is infinite or NaN. An
/// operand with a fraction gives the warning TARVEL:colon:nonIntegerIndex and the count of ndCountColonObj, which in an integer
/// class need not be the number of positions that the subscript selects (nd/subscripts.hpp).
ND_EXPORT kvSize ndCountIntColonObj(const ndArray_tag* array);

/// Writes start, step and stop, for every class; 64-bit values to the nearest double. Zeros for an array that isn't a colon object.
ND_EXPORT void ndGetColonObjValues(const ndArray_tag* object, double* values);

/// The operands of a colon object of class int64, or uint64. One of step and doubleStep is 0: the first when the step was given as
/// a double, the second when it was given as an integer. All zeros for any other array.
ND_EXPORT void ndGetColonObjValues(const ndArray_tag* object, long long& start, long long& step,
                                   long long& stop, double& doubleStep);
ND_EXPORT void ndGetColonObjValues(const ndArray_tag* object, unsigned long long& start,
                                   unsigned long long& step, unsigned long long& stop, double& doubleStep);

/* Operands as they are written. */

/// The class of the range whose n operands (start and stop, or start, step and stop; of more the first three count) are given, and
/// their values as start, step, stop and 0 in out. When an operand is empty, out is 0, 0, 0 and 1, and the range has no elements.
/// Logical operands count as doubles beside doubles; a colon object counts as its value. Raises, of the catalog TARVEL:colon:
///   mixedCharOperandsFirstAndLast, mixedCharOperandsSecond  (shown as TARVEL:colon:mixedCharOperands) where char is the first class
///                           other than double and logical: the ends must be char, the step char or double
///   mixedNonDoubleOperands  any other class: each operand must be of it or double. Also for classes without numbers
///   operandsNotRealScalar   complex, or more than one element
/// and what ndGetColonArgValues raises.
ND_EXPORT ndClassID ndGetColonArgs(int n, const ndArray_tag* const* args, double* out);

/// Tests n values as operands of a range of the class, and puts two of them in the places of three: start, 1, stop. values has room
/// for three. Raises, of the catalog TARVEL:colon:
///   charOperandsMustBeIntegerValued, integerOperandsMustBeIntegerValued  (shown as TARVEL:colon:scalarDoubleMustBeIntegerValued) a
///               fraction or NaN with char or int8 to uint32. values is as it was then
///   OutOfRange  start or stop outside int8 to uint32; a finite one that becomes infinite as a single
ND_EXPORT void ndGetColonArgValues(int n, double* values, ndClassID cls);

/// The positions of a range, without their fractions: a list from ndMalloc, which the caller frees with ndFree, and its length in
/// count; null and 0 for a range without elements. Whole operands are held to 64 bits, the step to 32. Others give the
/// warning TARVEL:colon:nonIntegerIndex, and each position is cut off after one half was added. Raises
/// TARVEL:colon:nonFiniteEndpoint for an operand that is infinite or NaN, and as a creator does.
ND_EXPORT long long* ndSignedIndexColonop(double start, double step, double stop, kvSize* count);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
