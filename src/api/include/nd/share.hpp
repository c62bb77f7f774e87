/*
 * nd/share.hpp: copies of arrays, and data blocks that several arrays use.
 *
 * An array is a value. What may be shared underneath is told apart:
 *   the header       several owners hold one ndArray_tag (ndCreateReference)
 *   the data block   several headers use one block (ndCreateSharedDataCopy); reading is free
 * Whoever writes unshares first: the library's mutators don't do it on their own. An unshared array says so by being used, not by
 * its flags: the shared-data bit stays behind when the others have gone.
 *
 * The functions of nd_array_api take null as "no array" and answer null, unless told otherwise; what they create has temporary scope when the array
 * list is on and local scope otherwise. Errors are exceptions when matrix::initModule ran with mode 1; in any other mode the
 * result is null. After an error every array is as it was.
 *
 * Threads: different headers over one block may be used by different threads at once, each header by one thread. Containers
 * and data in single-threaded sharing stay with one thread altogether.
 */
#ifndef ND_SHARE_HPP
#define ND_SHARE_HPP

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <span>

namespace matrix {

/// A copy whose elements are undefined; slots of containers, records and references are null. Complexity is the source's. A
/// sparse array gets room for as many elements, but no index vectors. Null gives null. Raises as a creator does.
ND_EXPORT array_ptr create_uninit_data_copy(const ndArray_tag* source);

/// 0x0 of the same class, complexity and storage, with the same field names. Null gives null. Raises as a creator does.
ND_EXPORT array_ptr create_empty_copy(const ndArray_tag* source);

/// A header with other dimensions over the array's data. The view isn't counted: it must end before the array does and before
/// the array's data change. Nothing below it belongs to it. dims have as many elements as the array and, for a sparse array, as
/// many columns. Writing through the view's pointer writes to the array; unsharing gives the view a block of its own. Shared copies
/// of the view must end as early as itself; what makes copies without being asked to share, such as setters of copies and
/// conversions, copies the data of a view. Of a colon object the result is no view, but the vector that it stands for. Null gives
/// null. Raises std::bad_alloc, and of a colon object as a creator does.
ND_EXPORT array_ptr createReshapedView(ndArray_tag* array, std::span<const kvSize> dims);
ND_EXPORT std::unique_ptr<const ndArray_tag, detail::ndDestroy_deleter>
createReshapedView(const ndArray_tag* array, std::span<const kvSize> dims);

/// Hands an owned array out as a temporary. Raises what adding to the array list raises; ptr then keeps the array.
ND_EXPORT ndArray_tag* to_tarvel(array_ptr&& ptr);

/// Takes an array of temporary or local scope over, as it is, with local scope. Any other scope ends the process. Null gives
/// an empty pointer.
ND_EXPORT array_ptr from_tarvel(ndArray_tag* array);

/// The same, and what comes out shares nothing: an array with several owners, with shared or lent data, or of a class that can
/// hold references is copied deeply, and one owner of it lets go. Raises std::invalid_argument for private data and for any scope but
/// temporary and local, and what a deep copy raises; the array stays the caller's then.
ND_EXPORT array_ptr from_tarvel_old(ndArray_tag* array);

namespace detail::noninlined::nd_array_api {

/* Copies. */

/// A new header over the array's data block. Ends the process when the data are private and not shareable.
ND_EXPORT ndArray_tag* ndCreateSharedDataCopy(const ndArray_tag* array);

/// A new header with its own copy of everything below.
ND_EXPORT ndArray_tag* ndCreateDeepCopy(const ndArray_tag* array);
ND_EXPORT ndArray_tag* ndDuplicateArray(const ndArray_tag* array);

/// matrix::create_uninit_data_copy; complexity is ignored.
ND_EXPORT ndArray_tag* ndCreateSkeletonCopy(const ndArray_tag* array, ndComplexity complexity);

/// matrix::create_empty_copy.
ND_EXPORT ndArray_tag* ndCreateEmptyCopy(const ndArray_tag* array);

/// A shared copy; when the array was reusable the copy takes the data over, and the array is left 0x0 of class unknown,
/// reusable still.
ND_EXPORT ndArray_tag* ndCreateClaimedDataCopy(ndArray_tag* array);

/// The array, when the caller is its only owner. Otherwise a shared copy that takes the place of the caller's reference: the
/// copy has the array's scope, and the array loses one owner.
ND_EXPORT ndArray_tag* ndUnreference(ndArray_tag* array);

/* Unsharing. The caller goes on with the result, and holds a reference that ref_count counts: one that an engine counts in
 * internal_ref_count isn't let go of here. */

/// An array whose header has one owner and whose data nobody else uses: array itself when it has one owner, otherwise a deep
/// copy in the place of the caller's reference.
ND_EXPORT ndArray_tag* ndUnshare(ndArray_tag* array);

/// The same for containers, one level deep: slots of its own, elements shared. Other classes are unshared.
ND_EXPORT ndArray_tag* ndUnshareShallow(ndArray_tag* array);

/// The array keeps its block and all other sharers move to a fresh copy. 0, also for null; 1 when the copy can't be made, for lack
/// of memory or because an element refuses, or when not all sharers are in single-threaded sharing; nothing has changed then.
ND_EXPORT int ndUnshareOtherArrays(ndArray_tag* array);

/// The same, and when the copy can't be made the other sharers are emptied. True when they were moved (or for null), false
/// otherwise.
ND_EXPORT bool ndUnshareOrEmptyOthers(ndArray_tag* array);

/// Unshares in place: ndUnshareShallow for a level other than 0, ndUnshare for 0. 0, also for null, or 1 on failure. An array whose header has
/// several owners raises TARVEL:matrix:badUndocumentedFunctionInput.
ND_EXPORT int ndUnshareArray(ndArray_tag* array, int level);

/// Marks the data as private to the array and its shared copies: the library never frees them, and the array is in single-
/// threaded sharing. The owner of such data keeps the array alive until the others have been moved or emptied. False takes both
/// marks away. Null is ignored. In mode 1 raises std::bad_alloc; in any other mode the flags stay as they are then.
ND_EXPORT void ndSetShareDataPrivateFlag(ndArray_tag* array, bool flag);

/* Moving a value onto a header that others already point to. */

/// dest takes over src's value; dest's own value ends. Neither is null. The caller's hold on src is spent, also after an error, which leaves
/// dest as it was. Nothing happens when the two are one header. Raises std::bad_alloc, and only when src has several owners.
ND_EXPORT void ndMoveArrayOntoHeader(ndArray_tag* dest, ndArray_tag* src);

/// The same, and the caller keeps src.
ND_EXPORT void ndMoveCopyOntoHeader(ndArray_tag* dest, ndArray_tag* src);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
