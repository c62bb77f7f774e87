/*
 * nd/access.hpp: reading and writing single fields of an array, for code in the engine's process. Flags, scope, dimensions
 * and data stand here; nd/class_access.hpp has what goes by class, nd/scalars.hpp single numbers.
 *
 * The functions of nd_array_api don't test for null: a null array is a fault of the caller. Those of published do and answer
 * 0 or null. A function for one class doesn't test for it: on another class it reads the field as it stands. None takes a
 * lock or allocates unless it says so; mutators don't unshare on their own.
 *
 * What is said to be raised leaves as an exception in module mode 1. In any other mode the function answers 0 or null, or
 * returns; nothing has changed then.
 */
#ifndef ND_ACCESS_HPP
#define ND_ACCESS_HPP

#include <nd/array.hpp>
#include <nd/class_access.hpp>
#include <nd/scalars.hpp>

namespace matrix::detail::noninlined::nd_array_api {

/* Flags. */

/// The numeric bit; the class alone isn't looked at.
ND_EXPORT bool ndIsNumeric(const ndArray_tag* array);
/// Complex and numeric: a char array with the complex bit isn't complex.
ND_EXPORT bool ndIsComplex(const ndArray_tag* array);
ND_EXPORT bool ndIsSparse(const ndArray_tag* array);
/// A range that stores its operands only.
ND_EXPORT bool ndIsColonObj(const ndArray_tag* array);
/// The dimensions are asked of the array's class.
ND_EXPORT bool ndIsIndexingOpaque(const ndArray_tag* array);
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

/// The library doesn't own the data: it never frees them, and blocks that the array is given stay with the caller. True
/// takes the array out of its cache bin.
ND_EXPORT bool ndIsDataPrivate(const ndArray_tag* array);
ND_EXPORT void ndSetDataPrivateFlag(ndArray_tag* array, bool flag);

/// The data are private to this array and its shared copies.
ND_EXPORT bool ndIsShareDataPrivate(const ndArray_tag* array);

/// Really shared: the header has several owners, or several headers use the data. Exact, where
/// matrix::engine_access::mightBeShared is quick.
ND_EXPORT bool ndIsSharedArray(const ndArray_tag* array);

/// One byte of flags that belongs to the user: 0 to 255.
ND_EXPORT int ndGetUserBits(const ndArray_tag* array);
/// Keeps the low eight bits.
ND_EXPORT void ndSetUserBits(ndArray_tag* array, int bits);

/* Scope. */

ND_EXPORT ndVariableScope ndGetArrayScope(const ndArray_tag* array);
/// The same under its older name.
ND_EXPORT ndVariableScope ndGetArrayScopeField(const ndArray_tag* array);
ND_EXPORT bool ndIsGlobal(const ndArray_tag* array);
ND_EXPORT bool ndIsLocal(const ndArray_tag* array);
ND_EXPORT bool ndIsTemp(const ndArray_tag* array);
/// The door to the array list; see ndVariableScope. May raise what adding to the list raises.
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
/// True when any dimension is 0; for a colon object, when its range has no element.
ND_EXPORT bool ndIsEmpty(const ndArray_tag* array);

/// Writes the array's dimensions as nsubs subscripts see them: the last one takes the product of those that remain, and 1
/// stands for each that the array hasn't. out has room for nsubs.
ND_EXPORT void ndGetDims(const ndArray_tag* array, kvSize nsubs, kvSize* out);

/// The offset of the element that subs name, counted from 0, in column-major order. Subscripts beyond the number of
/// dimensions are left out; none gives 0. Nothing is compared with the dimensions, and an offset too large for kvIndex wraps.
ND_EXPORT kvIndex ndCalcSingleSubscript(const ndArray_tag* array, kvSize nsubs, const kvIndex* subs);

/// Writes the first dimension. The data stay as they are: their owner sees to their size.
ND_EXPORT void ndSetM(ndArray_tag* array, kvSize m);
/// Makes the array two-dimensional with n columns. The data stay as they are.
ND_EXPORT void ndSetN(ndArray_tag* array, kvSize n);
/// Replaces all dimensions; the data stay as they are. 0, or 1 when memory ran out and nothing has changed.
ND_EXPORT int ndSetDimensions(ndArray_tag* array, const kvSize* dims, kvSize ndim);

/* Data. Getters answer pdata, which belongs to the array and is valid till its data change. Setters store another block and
 * free nothing. The old block stays with the arrays that share it, or with who lent it; one that the array alone had is the
 * caller's, to free as its deleter would have, which is forgotten, or with ndFree, or not at all when the data are private. A
 * separate view of it ends. The new block belongs to the array, which takes it off the list of blocks that ndMalloc gave to an
 * addon function, unless its data are private. It holds as many elements as the dimensions say.
 * A sparse array whose index vectors others have gets copies of them, which may raise std::bad_alloc. */

ND_EXPORT void* ndGetData(const ndArray_tag* array);
/// The real elements. A complex array has none in a row: an internal check ends the process, and without checks the answer
/// is pdata.
ND_EXPORT double* ndGetPr(const ndArray_tag* array);
ND_EXPORT char16_t* ndGetChars(const ndArray_tag* array);
ND_EXPORT bool* ndGetLogicals(const ndArray_tag* array);

/// data comes from the library's heap, or deleter releases it. With a deleter it stays on the list of the addon function.
/// A deleter needs a record, which may raise std::bad_alloc. The block that the array has already keeps its deleter when
/// others share or lent it and none is given.
ND_EXPORT void ndSetData(ndArray_tag* array, void* data, void (*deleter)(void*));
/// The same without a deleter, for real elements: checked as ndGetPr is.
ND_EXPORT void ndSetPr(ndArray_tag* array, double* data);

/// Bytes of one element; 0 for indexing-opaque.
ND_EXPORT std::size_t ndGetElementSize(const ndArray_tag* array);

/// Bytes of the data: elements times their size; of a sparse array all three blocks with the room in them; of a container 8
/// for each slot and what its elements take, an element in two slots twice. Headers don't count. Stored in out, if that
/// isn't null, and returned; a null array gives 0. A container nested deeper than 16 levels may raise std::bad_alloc.
ND_EXPORT kvSize ndGetNumberOfBytes(const ndArray_tag* array, kvSize* out);

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
/// pdata; null for null. A complex array, whose real part isn't contiguous, raises TARVEL:matrix:illegalComplexArray.
ND_EXPORT double* ndGetPr(const ndArray_tag* array);
/// nd_array_api::ndSetData without a deleter; null is ignored.
ND_EXPORT void ndSetData(ndArray_tag* array, void* data);
/// The same for real elements: a complex array raises TARVEL:matrix:illegalComplexArray.
ND_EXPORT void ndSetPr(ndArray_tag* array, double* data);

} // namespace published
} // namespace matrix::detail::noninlined::nd_array_api

#endif
