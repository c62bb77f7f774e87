/*
 * nd/containers.hpp: cells and structs, for code in the engine's process.
 *
 * The elements of a container are arrays. A cell has one slot for each element, a struct or object one for each element and field,
 * fields fastest: slot = element * fields + field. A slot is null, which stands for an empty element, or owns one reference of an
 * array that has member scope. Indices, slots and fields count from 0.
 *
 * The field names of a struct are shared by all headers with the same fields and copied when one of them changes its own.
 * The data block isn't unshared by any of these functions: whoever changes a container that shares its slots with others
 * unshares it first, and so does whoever writes through an element that has other owners.
 *
 * A container never stands below itself. One that is put into its own slots, or into those that it shares, goes in as a copy of
 * its own; where the reference handed over is the container's last, it stays the caller's. Putting it, or a header that shares its
 * slots, into a container further down is a fault of the caller that nothing looks for: such arrays are never given back, and
 * copies of them have no end.
 *
 * The functions of nd_array_api test nothing unless told so: null arrays, other classes and numbers out of range are faults of
 * the caller. Those of published, which the C interface reaches, test as they say. Out of memory is std::bad_alloc or
 * foundation::core::except::bad_alloc; whatever fails has changed nothing, and arguments handed over are still the caller's.
 */
#ifndef ND_CONTAINERS_HPP
#define ND_CONTAINERS_HPP

#include <nd/create.hpp>

#include <span>

namespace matrix {

/// A struct array from a cell, one dimension of which becomes the fields. names: a char matrix with one name in each row, trailing
/// blanks don't count, or a cell of char rows; dim counts from 1 and may lie beyond the cell's dimensions, which are 1 there.
/// cell is a cell and neither is null, which isn't tested. The struct shares the elements with the cell. Names longer than 2048
/// are cut, with a warning, and a name in a cell ends before its first NUL.
/// Raises, in this order: TARVEL:Cell2Struct:DimensionNumber for dim 0, NumberOfNamesMismatch, Non2DCharArray, for each name
/// NonStringFieldNames and NonStringVector, and what check_field_name_set raises; out of memory.
ND_EXPORT array_ptr cell_to_struct(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim);

/// A struct array from pairs of name and value, nrhs arguments in all; an odd last one is ignored. A value that is a cell gives
/// one element of the struct each of its own, a cell of one element and every other value are given to all elements; the shape is
/// that of the first cell that hasn't exactly one element, else 1x1. Later cells of other sizes aren't refused: elements without
/// a counterpart are null, a cell without elements repeats the value before it. Raises what cell_to_struct raises.
ND_EXPORT array_ptr struct_conversion_fcn(int nrhs, ndArray_tag* const* prhs);
ND_EXPORT array_ptr struct_conversion_fcn(int nrhs, const ndArray_tag* const* prhs);
ND_EXPORT array_ptr struct_conversion_fcn(int nrhs, const array_ptr* prhs);
ND_EXPORT array_ptr
struct_conversion_fcn(int nrhs, const std::unique_ptr<const ndArray_tag, detail::ndDestroy_deleter>* prhs);

/// Are these the names of fields? Raises TARVEL:Cell2Struct:InvalidFieldName for the first that is null, empty, longer than 2048
/// bytes or no name, and then TARVEL:DuplicateFieldName for the alphabetically first that is there twice.
ND_EXPORT void check_field_name_set(std::span<const char* const> names);

/// n by 1, with the fields "file", "name" and "line": the frames of an error's stack.
ND_EXPORT array_ptr createStackStruct(std::size_t n);

namespace detail {

/// A struct array with these fields, all values null. The names aren't checked; of equal ones the last is found.
/// Raises the size errors of a creator, for 8 bytes a field, and out of memory.
ND_EXPORT array_ptr do_create_struct(std::span<const std::size_t> dims, std::span<const char* const> names);

namespace noninlined::nd_array_api {

/* Creators; see nd/create.hpp for what they raise and how. */

/// Cells of null slots.
ND_EXPORT ndArray_tag* ndCreateCellMatrix(std::size_t m, std::size_t n);
ND_EXPORT ndArray_tag* ndCreateCellArray(std::size_t ndim, const std::size_t* dims);

/// Struct arrays with these fields, all values null. The names are copied and not checked; a negative nfields counts as 0.
ND_EXPORT ndArray_tag* ndCreateStructMatrix(std::size_t m, std::size_t n, int nfields, const char** names);
ND_EXPORT ndArray_tag* ndCreateStructArray(std::size_t ndim, const std::size_t* dims, int nfields,
                                           const char** names);

/// createStackStruct.
ND_EXPORT ndArray_tag* ndCreateStackStruct(std::size_t n);

/* Elements by slot. */

/// What stands in the slot; the container owns it.
ND_EXPORT ndArray_tag* ndGetCell(const ndArray_tag* cell, kvIndex index);

/// Puts value into the slot and takes one reference of it over. A value with other owners goes in as a shared copy. What stood
/// in the slot is neither destroyed nor released. Null empties the slot.
ND_EXPORT void ndSetCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value);

/// The same, and what stood in the slot loses the slot's reference. The element itself, without a reference of the caller's,
/// stays where it is.
ND_EXPORT void ndReplaceCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value);

/// The two for a value whose reference the caller keeps.
ND_EXPORT void ndSetCopyInCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value);
ND_EXPORT void ndReplaceCopyInCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value);

/// The slots; they stand in the array.
ND_EXPORT ndArray_tag** ndGetCells(const ndArray_tag* array);
ND_EXPORT ndArray_tag** ndGetFields(const ndArray_tag* array);

/// Gives a container another block of slots, from the library's heap, and takes it over: the block leaves the list of blocks that
/// ndMalloc gave to an addon function, unless the array's data are private. The array forgets a deleter of the old block and
/// leaves a group that shares it. The old block isn't freed, and what stands in either isn't looked at.
ND_EXPORT void ndSetCells(ndArray_tag* array, ndArray_tag** buffer);
ND_EXPORT void ndSetFields(ndArray_tag* array, ndArray_tag** buffer);

/* Values by field. */

/// The value, or null when there is no such field.
ND_EXPORT ndArray_tag* ndGetField(const ndArray_tag* array, kvIndex index, const char* name);
ND_EXPORT ndArray_tag* ndGetFieldByNumber(const ndArray_tag* array, kvIndex index, int number);

/// ndSetCell and ndReplaceCell on the slot of the field. The name isn't tested: the caller knows that the field exists.
ND_EXPORT void ndSetField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value);
ND_EXPORT void ndSetFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value);
ND_EXPORT void ndReplaceField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value);
ND_EXPORT void ndReplaceFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value);

/* Fields. */

/// Number of the field, -1 when the array hasn't got it.
ND_EXPORT int ndGetFieldNumber(const ndArray_tag* array, const char* name);

/// Name of the field, null for a number out of range. The text belongs to the library and stays.
ND_EXPORT const char* ndGetFieldNameByNumber(const ndArray_tag* array, int number);

/// The names in the order of the fields; they stand in the name set of a struct or object, null when it has no fields, till the
/// array changes. Not to be read for another class.
ND_EXPORT const char* const* ndGetFieldNames(const ndArray_tag* array);

/// 0 for an array that is no struct or object.
ND_EXPORT std::int32_t ndGetNumberOfFields(const ndArray_tag* array);

/// Adds a field, its values null, and returns its number; the number of the field when it exists, and nothing has changed. The
/// name isn't checked. -1, with nothing changed, when there is no memory for the names and for an array that is no struct or
/// object. Raises the size errors, and out of memory for the slots.
ND_EXPORT int ndAddField(ndArray_tag* array, const char* name);

/// The same with a name that is tested. Raises TARVEL:AddField:InvalidFieldName with the name, and out of memory in place of -1.
ND_EXPORT int ndAddFieldToStruct(ndArray_tag* array, const char* name);

/// Removes a field. Inside an engine, where lists of temporaries are kept, its values become temporaries; a value that stands in
/// other slots too, or has other owners, only loses the reference of the field's slot and stays theirs. In a plain library nothing
/// is released: the references of the field's slots are the caller's, who has asked for the values before.
/// Does nothing for an array that is no struct or object and a number out of range.
ND_EXPORT void ndRemoveField(ndArray_tag* array, int number);

/* Conversions: results as those of creators. */

/// cell_to_struct.
ND_EXPORT ndArray_tag* ndCell2Struct(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim);

/// ndCreateConvertedCopy(array, ndCELL_CLASS): of a struct or object a cell of (fields, dimensions of the struct...) that shares
/// its elements with it; those of a view are copied. The destroy hook hears of the end of an object's header, whether or not the
/// cell has the slots then, and never of the cell's. Of a cell a deep copy, of an array without elements an empty cell; null for
/// other classes and null.
ND_EXPORT ndArray_tag* ndStruct2Cell(const ndArray_tag* array);

/// struct_conversion_fcn; *result is written when it has succeeded.
ND_EXPORT void ndStructureConversionFcn(ndArray_tag** result, int nrhs, const ndArray_tag* const* prhs);

/* What the C interface reaches. Null arrays, other classes, null names and numbers out of range give null or -1, or are
 * ignored; the caller then keeps what it handed over. Errors leave as those of creators do. */
namespace published {

ndArray_tag* ndGetCell(const ndArray_tag* cell, kvIndex index);
void ndSetCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value);
ndArray_tag* ndGetField(const ndArray_tag* array, kvIndex index, const char* name);
ndArray_tag* ndGetFieldByNumber(const ndArray_tag* array, kvIndex index, int number);
void ndSetField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value);
void ndSetFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value);
int ndAddField(ndArray_tag* array, const char* name);
void ndRemoveField(ndArray_tag* array, int number);
int ndGetFieldNumber(const ndArray_tag* array, const char* name);
const char* ndGetFieldNameByNumber(const ndArray_tag* array, int number);
std::int32_t ndGetNumberOfFields(const ndArray_tag* array);

} // namespace published
} // namespace noninlined::nd_array_api
} // namespace detail
} // namespace matrix

#endif
