/*
 * nd/deletion.hpp: taking elements out of an array, and lengthening plain arrays, for code in the engine's process.
 *
 * All work in place: the caller has unshared the array and goes on with its header. Subscripts are arrays as <nd/subscripts.hpp> tells
 * them, with its errors. All errors are raised as exceptions in every module mode; the array then has the value that it had.
 */
#ifndef ND_DELETION_HPP
#define ND_DELETION_HPP

#include <nd/array.hpp>
#include <nd/types.h>

#include <cstddef>

namespace matrix::detail::noninlined::nd_array_api {

/// a(subs) = [], for at least one subscript. All but one are colons: positions go of one dimension, named twice they go once.
///
///   one subscript          elements of the array as a vector. A vector keeps its orientation, anything else becomes a row, also
///                          where the subscript has no element; one that selects nothing without being empty, a mask of
///                          false, changes nothing. The colon leaves 0x0
///   several                the last one stands for all further dimensions, which become one
///   all of them colons     the first dimension becomes 0
///
/// What is left of a complex array is real where no imaginary part is left; only a mask of false leaves it as it is. Elements of
/// containers that go lose their slot's reference, those that stay are moved. A sparse array stays sparse. A colon object becomes the
/// vector that is left of its range. A class that indexes its arrays by itself hears of the assignment of a 0x0 double.
/// Raises, besides the errors of the subscripts:
///   TARVEL:nindexIsZero        without subscripts
///   TARVEL:badnullindex        a is empty and of class unknown
///   TARVEL:badnullassign       more than one subscript isn't the colon, tested before any of them is converted
///   TARVEL:subsdeldimmismatch  a position lies beyond the dimension
///   TARVEL:invalidInput        elements that their class can't copy, or no class that indexes the array
///   TARVEL:pmaxsize and SizeLimitExceeded for a sparse array that is too large as a full one; TARVEL:nomem, out of memory
ND_EXPORT void ndSubscriptedDelete(ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs);

/*
 * Growth of what the caller knows to be m by n. New elements are 0, and room for more is kept as in assignment. Nothing shrinks.
 * Raise TARVEL:pmaxsize and SizeLimitExceeded for the new size; foundation::core::except::bad_alloc and std::bad_alloc.
 */

/// A vector of doubles gets newLength elements: 0-by-n becomes a row, a scalar too. True; false for a matrix, which doesn't grow.
/// An array that is long enough doesn't either, and that is true as well, whatever its shape. makeComplex makes a real array
/// complex first, also one that doesn't grow. False, and nothing happens, for a sparse array, a colon object and elements that aren't
/// plain.
ND_EXPORT bool ndResizeDoubleVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex);

/// The same for char, double, single and the integer classes; false for any other. makeComplex doesn't count for char.
ND_EXPORT bool ndResizeNumericVector(ndArray_tag* a, kvSize m, kvSize n, kvSize newLength, bool makeComplex);

/// A matrix of doubles becomes max(m, newM) by max(n, newN); its elements keep their subscripts. makeComplex as above. Raises
/// TARVEL:invalidInput for a sparse array, a colon object and elements that aren't plain.
ND_EXPORT void ndResizeDoubleMatrix(ndArray_tag* a, kvSize m, kvSize n, kvSize newM, kvSize newN,
                                    bool makeComplex);

} // namespace matrix::detail::noninlined::nd_array_api

#endif
