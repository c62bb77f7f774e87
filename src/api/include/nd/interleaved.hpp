/*
 * nd/interleaved.hpp: complex data between the two layouts, and between complex and real.
 *
 * Elements lie interleaved in pdata. Clients of the older interface see two blocks, one of real and one of imaginary parts,
 * which are made on demand (ndArray_tag::split_data) and then count in place of pdata until the array is interleaved again.
 */
#ifndef ND_INTERLEAVED_HPP
#define ND_INTERLEAVED_HPP

#include <nd/array.hpp>

namespace matrix {

namespace detail {

/// True when pdata holds the current values.
ND_EXPORT bool isIC(const ndArray_tag* array);

} // namespace detail

/// Ends the split state of every numeric array at and below array. Raises std::bad_alloc.
ND_EXPORT void switchToInterleaved(ndArray_tag* array);

/// Brings pdata up to date at and below array; what is split stays split. Raises std::bad_alloc.
ND_EXPORT void updateInterleavedData(ndArray_tag* array);

namespace detail::noninlined::nd_array_api {

/*
 * All change the array in place. A split array is interleaved first, and shared data are unshared. In mode 1 a failure is an
 * exception, in any other mode nothing happens; the array's value is as it was. What is no numeric array raises
 * std::invalid_argument where a numeric array is needed.
 */

/// The real parts stay. Nothing happens to a real array.
ND_EXPORT void ndDeflateComplexToReal(ndArray_tag* array);

/// Each element gets an imaginary part of 0. Nothing happens to a complex array; a colon object becomes the vector that it stands for.
ND_EXPORT void ndInflateRealToComplex(ndArray_tag* array);

/// Makes a complex array real when all imaginary parts are 0. Nothing happens to an array whose header has several owners or
/// whose data are private.
ND_EXPORT void ndFreeImagIfZero(ndArray_tag* array);

/// Whether an imaginary part isn't equal to 0; NaN isn't. False for a real array.
ND_EXPORT bool ndIsImagPartNonZero(const ndArray_tag* array);

/// Sets the complex bit and nothing else: the caller sees to the data.
ND_EXPORT void ndMarkImagData(ndArray_tag* array);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
