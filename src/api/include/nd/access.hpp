/*
 * nd/access.hpp: reading and writing single fields of an array, for code in the engine's process.
 *
 * The functions of nd_array_api don't test for null: a null array is a fault of the caller. Those of published do and answer
 * 0 or null. A function for one class doesn't test for it: on another class it reads the field as it stands. None takes a
 * lock or allocates unless it says so; mutators don't unshare on their own.
 */
#ifndef ND_ACCESS_HPP
#define ND_ACCESS_HPP

#include <nd/array.hpp>

namespace matrix::detail::noninlined::nd_array_api {

/* Classes. */

/// The class: the stored one up to 16, what the class system says for opaque and object arrays.
ND_EXPORT ndClassID ndGetClassID(const ndArray_tag* array);

/// The class's name; for opaque and object arrays what the class system says. Valid while the array is.
ND_EXPORT const char* ndGetClassName(const ndArray_tag* array);

/// The stored class.
ND_EXPORT ndClassID ndGetArrayType(const ndArray_tag* array);

/// Changes the stored class and nothing of the data: the numeric bit follows, struct information comes or goes, and a class
/// that can't hold references loses its containment record. May raise what the collection list raises.
ND_EXPORT void ndSetArrayType(ndArray_tag* array, ndClassID classId);

/// The name of a class number; "unknown" for a number of no class.
ND_EXPORT const char* ndArrayClassIDName(ndClassID classId);

/// The class number of a name, 0 for the empty and every unknown name.
ND_EXPORT ndClassID ndClassIDFromClassName(const char* name);

/// Double, single or an integer class.
ND_EXPORT bool ndIsNumericArrayType(ndClassID classId);

/// Bytes of one element; complex counts when it is exactly ndCOMPLEX; 0 where the class has no such elements.
ND_EXPORT std::size_t ndGetElementSizeofClassID(ndClassID classId, ndComplexity complexity);

/* Class predicates, by the stored class. */

ND_EXPORT bool ndIsCell(const ndArray_tag* array);
ND_EXPORT bool ndIsChar(const ndArray_tag* array);
ND_EXPORT bool ndIsDouble(const ndArray_tag* array);
ND_EXPORT bool ndIsSingle(const ndArray_tag* array);
ND_EXPORT bool ndIsLogical(const ndArray_tag* array);
ND_EXPORT bool ndIsFunctionHandle(const ndArray_tag* array);
ND_EXPORT bool ndIsOpaque(const ndArray_tag* array);
ND_EXPORT bool ndIsObject(const ndArray_tag* array);
ND_EXPORT bool ndIsInt8(const ndArray_tag* array);
ND_EXPORT bool ndIsInt16(const ndArray_tag* array);
ND_EXPORT bool ndIsInt32(const ndArray_tag* array);
ND_EXPORT bool ndIsInt64(const ndArray_tag* array);
ND_EXPORT bool ndIsUint8(const ndArray_tag* array);
ND_EXPORT bool ndIsUint16(const ndArray_tag* array);
ND_EXPORT bool ndIsUint32(const ndArray_tag* array);
ND_EXPORT bool ndIsUint64(const ndArray_tag* array);

/// Struct or object.
ND_EXPORT bool ndIsStruct(const ndArray_tag* array);

/// Cell, struct or object.
ND_EXPORT bool ndIsContainer(const ndArray_tag* array);

/* Flags. */

/// The numeric bit; the class alone isn't looked at.
ND_EXPORT bool ndIsNumeric(const ndArray_tag* array);
/// Complex and numeric: a char array with the complex bit isn't complex.
ND_EXPORT bool ndIsComplex(const ndArray_tag* array);
ND_EXPORT bool ndIsSparse(const ndArray_tag* array);
ND_EXPORT bool ndIsFromGlobalWS(const ndArray_tag* array);
ND_EXPORT void ndSetFromGlobalWS(ndArray_tag* array, bool flag);
ND_EXPORT bool ndIsEmptySqrBrktArray(const ndArray_tag* array);
ND_EXPORT void ndSetEmptySqrBrktFlag(ndArray_tag* array);
ND_EXPORT void ndClearEmptySqrBrktFlag(ndArray_tag* array);
ND_EXPORT bool ndIsScalarDoubleFlagSet(const ndArray_tag* array);
ND_EXPORT void ndSetScalarDoubleFlag(ndArray_tag* array);
ND_EXPORT void ndClearScalarDoubleFlag(ndArray_tag* array);
ND_EXPORT bool ndIsReusable(const ndArray_tag* array);

/// Marks the data as free to be taken over by the reuse creators. Ignored for true where that could be noticed: without data,
/// for a value of the global workspace, with several owners, for data that are shared, sparse or indexing-opaque, and in any
/// scope but local and temporary. False always works.
ND_EXPORT void ndSetReusable(ndArray_tag* array, bool flag);

/// One byte of flags that belongs to the user.
ND_EXPORT int ndGetUserBits(const ndArray_tag* array);
ND_EXPORT void ndSetUserBits(ndArray_tag* array, int bits);

/* Scope. */

ND_EXPORT ndVariableScope ndGetArrayScope(const ndArray_tag* array);
/// The only door to the array list; see ndVariableScope. May raise what adding to the list raises.
ND_EXPORT void ndSetArrayScope(ndArray_tag* array, ndVariableScope scope);

/* Dimensions. */

/// 2 or more. Doesn't ask an opaque class.
ND_EXPORT kvSize ndGetNumberOfDimensions(const ndArray_tag* array);
/// The dimensions, ndGetNumberOfDimensions of them; they stand in the array and are valid till it changes.
ND_EXPORT const kvSize* ndGetDimensions(const ndArray_tag* array);
ND_EXPORT kvSize ndGetM(const ndArray_tag* array);
/// Product of all dimensions but the first: 12 for 2x3x4.
ND_EXPORT kvSize ndGetN(const ndArray_tag* array);
ND_EXPORT kvSize ndGetNumberOfElements(const ndArray_tag* array);
/// True when any dimension is 0.
ND_EXPORT bool ndIsEmpty(const ndArray_tag* array);

/// Writes the first dimension. The data stay as they are: their owner sees to their size.
ND_EXPORT void ndSetM(ndArray_tag* array, kvSize m);
/// Makes the array two-dimensional with n columns. The data stay as they are.
ND_EXPORT void ndSetN(ndArray_tag* array, kvSize n);
/// Replaces all dimensions; the data stay as they are. 0, or 1 when memory ran out and nothing has changed.
ND_EXPORT int ndSetDimensions(ndArray_tag* array, const kvSize* dims, kvSize ndim);

/* Data. */

ND_EXPORT void* ndGetData(const ndArray_tag* array);
ND_EXPORT char16_t* ndGetChars(const ndArray_tag* array);
ND_EXPORT bool* ndGetLogicals(const ndArray_tag* array);
/// Bytes of one element; 0 for indexing-opaque.
ND_EXPORT std::size_t ndGetElementSize(const ndArray_tag* array);

/// The real part of the first element as a double; 0 without data, for a sparse array that stores nothing, and for classes
/// that aren't numeric, logical or char. 64-bit integers round to nearest.
ND_EXPORT double ndGetScalar(const ndArray_tag* array);

/* Floating-point constants and tests (IEEE 754 binary64). */

ND_EXPORT double ndGetEps();
ND_EXPORT double ndGetInf();
/// The quiet NaN with the sign bit set: 0xFFF8000000000000.
ND_EXPORT double ndGetNaN();
ND_EXPORT bool ndIsFinite(double x);
ND_EXPORT bool ndIsInf(double x);
ND_EXPORT bool ndIsNaN(double x);

/* Positions of fields for an engine that can't include nd/engine_access.hpp, in bytes. */

ND_EXPORT std::size_t ndGetPdataOffset();
ND_EXPORT std::size_t ndGetControlBlockOffset();
ND_EXPORT std::size_t ndGetScopeOffset();
ND_EXPORT std::size_t ndGetReferenceCountOffset();
ND_EXPORT std::size_t ndGetDimMOffset();
ND_EXPORT std::size_t ndGetDimNOffset();

namespace published {

/// pdata; null for null.
ND_EXPORT void* ndGetData(const ndArray_tag* array);
/// 0 for null and for indexing-opaque.
ND_EXPORT std::size_t ndGetElementSize(const ndArray_tag* array);
/// pdata; null for null. A complex array, whose real part isn't contiguous, raises TARVEL:matrix:illegalComplexArray in mode 1
/// and gives null in any other mode.
ND_EXPORT double* ndGetPr(const ndArray_tag* array);

} // namespace published
} // namespace matrix::detail::noninlined::nd_array_api

#endif
