/*
 * nd/class_access.hpp: what class an array has, and the words of the header that go by class, for code in the engine's process.
 *
 * Array arguments are as in nd/access.hpp: not null, used by one thread at a time. A function for one class doesn't test for
 * it: on another class it reads the words as they stand.
 */
#ifndef ND_CLASS_ACCESS_HPP
#define ND_CLASS_ACCESS_HPP

#include <nd/array.hpp>

struct xxInfo; // registration of a class that lives outside the library

namespace matrix::detail::noninlined::nd_array_api {

/* Classes. */

/// The class: the stored one up to 16; what the class system says for an opaque array; the tag index of an object array, or
/// ndOBJECT_CLASS when that is 0.
ND_EXPORT ndClassID ndGetClassID(const ndArray_tag* array);

/// The class's name: what the class system says for an opaque array; the name that an object array was given, "" when there
/// is none. Owner: the library; valid while the array is.
ND_EXPORT const char* ndGetClassName(const ndArray_tag* array);

/// Makes a struct array an object of the class with this name: the fields stay, the name is kept as ndSetObjectClassName
/// does, and the hook for new objects is called once. 0; 1 with nothing changed for an array of any other class and for a
/// null name. Short of memory it raises std::bad_alloc in module mode 1 and gives 1 in any other, with nothing changed.
ND_EXPORT int ndSetClassName(ndArray_tag* array, const char* name);

/// The stored class.
ND_EXPORT ndClassID ndGetArrayType(const ndArray_tag* array);

/// Changes the stored class and nothing of the data: the numeric bit follows, struct and object information comes or goes, and a class
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

/// Of the struct class itself: false for an object.
ND_EXPORT bool ndIsStructClass(const ndArray_tag* array);

/// Struct or object.
ND_EXPORT bool ndIsStruct(const ndArray_tag* array);

/// Cell, struct or object.
ND_EXPORT bool ndIsContainer(const ndArray_tag* array);

/// Of the class that indices are stored in, uint64.
ND_EXPORT bool ndIsIndex(const ndArray_tag* array);

/// Double or single.
ND_EXPORT bool ndIsFloat(const ndArray_tag* array);

/// One of the eight integer classes.
ND_EXPORT bool ndIsInteger(const ndArray_tag* array);

/// A header that has no class yet.
ND_EXPORT bool ndIsClassUnknown(const ndArray_tag* array);

/// Of the class with this name: an opaque array asks its class system; for any other the name is that of ndGetClassName,
/// byte for byte. False for a null name.
ND_EXPORT bool ndIsClass(const ndArray_tag* array, const char* name);

/* Objects. The three facts stand in a record that the first of them other than 0 makes: a reader without a record answers 0
 * or null, a writer may raise std::bad_alloc, and the array is then unchanged. Headers over the same data have a record
 * each. */

/// The name that the object was given; null when there is none. Equal names are one text, so pointers tell them apart.
/// Owner: the library, for as long as the process runs.
ND_EXPORT const char* ndGetObjectClassName(const ndArray_tag* array);
/// Keeps the name: it is copied into the symbol table. Null takes the name away. The class isn't changed.
ND_EXPORT void ndSetObjectClassName(ndArray_tag* array, const char* name);

/// The number of a registered class, which ndGetClassID then gives; 0 for none.
ND_EXPORT std::int32_t ndGetObjectTagIndex(const ndArray_tag* array);
ND_EXPORT void ndSetObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex);

/// A number that tells versions of a class definition apart; it belongs to the class system.
ND_EXPORT std::uint32_t ndGetObjectCheckSum(const ndArray_tag* array);
ND_EXPORT void ndSetObjectCheckSum(ndArray_tag* array, std::uint32_t checkSum);

/* Opaque arrays. */

/// The registration of the array's class; it belongs to the registry.
ND_EXPORT xxInfo* ndGetInfo(const ndArray_tag* array);

/// The payload, which belongs to the class system. The setter frees nothing.
ND_EXPORT void* ndGetOpaqueGiblet(const ndArray_tag* array);
ND_EXPORT void ndSetOpaqueGiblet(ndArray_tag* array, void* giblet);

/// A number for the class system's use.
ND_EXPORT std::int32_t ndGetOpaqueObjectTagIndex(const ndArray_tag* array);
ND_EXPORT void ndSetOpaqueObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex);

} // namespace matrix::detail::noninlined::nd_array_api

#endif
