/*
 * nd/convert.hpp: values of one class as values of another.
 *
 * Scalars: logical (a byte, 0 or 1), char (a 16-bit code unit), the integer classes, single, double.
 *   to an integer class  from floating point: to the nearest whole number, halves away from zero, NaN to 0. What lies outside the
 *                        class becomes its nearest limit; nothing wraps
 *   to char              as to uint16, but fractions are cut off: 65.9 gives 65
 *   to floating point    the nearest number; beyond single's range that is infinity
 *   to logical           anything but 0 gives 1; NaN raises TARVEL:legacy_two_part:nologicalnan
 *
 * Arrays: a colon object counts as the vector that it stands for, and is never the result, whatever its class.
 *
 * Identifiers of the catalog TARVEL:legacy_two_part are shown without it: TARVEL:nologicalnan.
 *
 * A conversion runs on the thread that calls it, which may be any that owns the array. Only the question whether a long complex
 * result has imaginary parts at all is asked on several threads, which read the new array and nothing else. Where a result
 * shares data with its source, both stand in one counted record, under its lock if it has one.
 */
#ifndef ND_CONVERT_HPP
#define ND_CONVERT_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <boost/smart_ptr/intrusive_ptr.hpp>

namespace matrix {

/// A new array of the class with array's dimensions, or an empty pointer where there is no such conversion.
///   same class               a deep copy
///   logical, char, numeric   element by element; complex stays complex, but for char, and becomes real when every imaginary part
///                            comes out as 0. To char a complex array gives its real and imaginary parts as they lie, the first
///                            half of them. An int8 or uint8 array of zeros and ones becomes logical without a copy: the two
///                            share their data. Not from logical to char. An array without elements can have any class
///   struct                   to cell: fields become the first dimension, and the two share their elements
///   object                   the same, and to struct: the object's fields, shared one by one
///   opaque                   what its class says
///   sparse                   between logical, double and single: the same pattern in the other class. Complex stays complex, and
///                            values that become 0 stay stored
/// Null gives an empty pointer. Raises TARVEL:legacy_two_part:nologicalcomplex for complex to logical, nologicalnan as above,
/// TARVEL:legacy_two_part:unimplementedSparseType for a sparse array and a class without sparse form (single without the feature
/// SingleSparse is one), and as a creator does. std::bad_alloc may also come from the scheduler of the threads. array keeps its
/// value.
ND_EXPORT array_ptr create_converted_copy(const ndArray_tag* array, ndClassID classId);

/// The array, with one owner more, when it has the class; otherwise a converted copy. Raises
/// TARVEL:legacy_two_part:invalidConversion, with both class names, where there is no conversion (for a struct always) and
/// TARVEL:legacy_two_part:noConversionComplexToChar, and as create_converted_copy does. Null gives an empty pointer.
ND_EXPORT boost::intrusive_ptr<ndArray_tag> convert_if_needed(boost::intrusive_ptr<ndArray_tag>& array,
                                                              ndClassID classId);
ND_EXPORT boost::intrusive_ptr<ndArray_tag> convert_if_needed(const ndArray_tag* array, ndClassID classId);

/// The same; an array that has the class moves into the result. After an error, and after a conversion, the caller's pointer
/// keeps the array.
ND_EXPORT array_ptr convert_if_needed(array_ptr&& array, ndClassID classId);

/// The array, with one owner more, when it is full; otherwise a full copy. A header that says sparse in a class without sparse
/// form stands as it is. Raises as a creator does; array keeps its value. Null gives an empty pointer.
ND_EXPORT boost::intrusive_ptr<ndArray_tag>
convert_to_full_if_needed(boost::intrusive_ptr<ndArray_tag>& array);
ND_EXPORT boost::intrusive_ptr<ndArray_tag> convert_to_full_if_needed(const ndArray_tag* array);
ND_EXPORT array_ptr convert_to_full_if_needed(array_ptr&& array);

/// The array, with one owner more, when it is sparse; otherwise a sparse copy, which stores the elements that aren't 0 (NaN is
/// one) and has room for no more; complex stays complex. Of an array of more than two dimensions it is the matrix of its columns.
/// Raises TARVEL:legacy_two_part:unimplementedSparseType for a class without sparse form, which single is without the feature
/// SingleSparse, and as a creator does; array keeps its value. Null gives an empty pointer.
ND_EXPORT boost::intrusive_ptr<ndArray_tag>
convert_to_sparse_if_needed(boost::intrusive_ptr<ndArray_tag>& array);
ND_EXPORT boost::intrusive_ptr<ndArray_tag> convert_to_sparse_if_needed(const ndArray_tag* array);
ND_EXPORT array_ptr convert_to_sparse_if_needed(array_ptr&& array);

namespace detail::noninlined::nd_array_api {

/// matrix::create_converted_copy with the result as a temporary. Errors are exceptions when matrix::initModule ran with mode 1;
/// in any other mode the result is null.
ND_EXPORT ndArray_tag* ndCreateConvertedCopy(const ndArray_tag* array, ndClassID classId);

/// matrix::convert_to_full_if_needed and matrix::convert_to_sparse_if_needed for arguments: array itself when nothing was to do,
/// otherwise a new array, as a temporary. Errors as in ndCreateConvertedCopy. Null gives null.
ND_EXPORT ndArray_tag* ndMustBeFull(const ndArray_tag* array);
ND_EXPORT ndArray_tag* ndMustBeSparse(const ndArray_tag* array);

/// Converts count scalars from source to destination. The buffers don't overlap and may lie at any address. Classes without
/// scalars: nothing is written. Raises nologicalnan in every mode; scalars are judged and written by fours, and those before the
/// four with the NaN have been written then.
ND_EXPORT void ndConvertBufferToType(void* destination, ndClassID destinationClass, const void* source,
                                     ndClassID sourceClass, std::size_t count);

/// The same of count elements, whose real and imaginary parts lie side by side. From real to complex the imaginary parts become
/// 0. To real the first count scalars of the source are taken as they lie.
ND_EXPORT void ndConvertBufferToTypeAndComplexity(void* destination, ndClassID destinationClass,
                                                  bool destinationComplex, const void* source,
                                                  ndClassID sourceClass, bool sourceComplex,
                                                  std::size_t count);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
