/*
 * nd/scalars.hpp: one number out of an array, the colon of a subscript list, and constants and tests of doubles.
 *
 * Array arguments are as in nd/access.hpp: not null, used by one thread at a time.
 */
#ifndef ND_SCALARS_HPP
#define ND_SCALARS_HPP

#include <nd/array.hpp>

namespace matrix::detail::noninlined::nd_array_api {

/* One number. */

/// Whether the class is double and there is exactly one element.
ND_EXPORT bool ndIsFullScalarDouble(const ndArray_tag* array);

/// The real part of the first element as a double; 0 without data, for a sparse array that stores nothing, and for classes
/// that aren't numeric, logical or char. 64-bit integers round to nearest.
ND_EXPORT double ndGetScalar(const ndArray_tag* array);

/// The value of the only element as an int. Tested in this order, and raised in module mode 1 (any other mode gives 0):
///   TARVEL:ScalIntReq  the number of elements isn't 1, or the array is complex
///   TARVEL:NonNumInt   there are no data, or the class isn't numeric, logical or char
///   TARVEL:IntVal      a double or single is no whole number from -2^31 to 2^31 - 1; NaN and infinity aren't
///   TARVEL:IntTooBig   a uint32, int64 or uint64 doesn't fit an int
ND_EXPORT int ndGetScalarInt(const ndArray_tag* array);

/* The colon that stands for all indices of a dimension. */

/// A new 1x1 char array with the text ":". The caller owns it; its scope is temporary when an array list takes it, else
/// local. Raises what creators raise when memory is short; null in any other module mode.
ND_EXPORT ndArray_tag* ndCreateColonIndex();

/// Whether the array is a char array whose only element is a colon.
ND_EXPORT bool ndIsColonIndex(const ndArray_tag* array);

/* Floating-point constants and tests (IEEE 754 binary64). */

/// The distance from 1 to the next larger double: 2^-52.
ND_EXPORT double ndGetEps();
/// Positive infinity.
ND_EXPORT double ndGetInf();
/// The quiet NaN with the sign bit set: 0xFFF8000000000000.
ND_EXPORT double ndGetNaN();
/// Neither infinite nor NaN.
ND_EXPORT bool ndIsFinite(double x);
/// Infinite, of either sign; false for NaN.
ND_EXPORT bool ndIsInf(double x);
ND_EXPORT bool ndIsNaN(double x);

} // namespace matrix::detail::noninlined::nd_array_api

#endif
