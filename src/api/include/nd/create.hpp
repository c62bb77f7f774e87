/*
 * nd/create.hpp: creating and destroying arrays, for code in the engine's process.
 *
 * Two layers.
 *   matrix, matrix::detail          return an owning smart pointer; the array has local scope and stands on no list. Errors
 *                                   are exceptions.
 *   nd_array_api                    return a plain pointer; the array has temporary scope when the array list is on (it is
 *                                   destroyed with the current context unless somebody claims it) and local scope otherwise.
 *                                   Errors are exceptions when matrix::initModule ran with mode 1; in any other mode the
 *                                   result is null.
 *
 * Raised by every creator, before anything is allocated:
 *   TARVEL:pmaxsize  element count or bytes above 2^48 - 1
 *   SizeLimitExceeded  bytes above the limit that matrix::ArraySizeLimit holds
 * and, with nothing left behind: std::bad_alloc for the header, foundation::core::except::bad_alloc for the data.
 *
 * Small arrays that come from the cache aren't held to the user's limit.
 *
 * An array whose elements are said to be undefined has null in their place when its class holds references.
 *
 * Dimensions: any number, any order of sizes; trailing ones beyond the second are dropped, none gives 0x0, a single one a
 * column. Elements lie in column-major order; complex elements are interleaved.
 */
#ifndef ND_CREATE_HPP
#define ND_CREATE_HPP

#include <nd/array.hpp>

#include <memory>
#include <span>

namespace matrix {

/// One owner lets go of the array. The last one ends it: contents, data and header are released; elements of containers of
/// any depth go in constant stack. Null is ignored. Never raises.
ND_EXPORT void destroyArray(ndArray_tag* array);

namespace detail {

/// The deleter of owning pointers: matrix::destroyArray. An exception that escapes a destruction ends the process.
struct ndDestroy_deleter {
    ND_EXPORT void operator()(const ndArray_tag* array) const noexcept;
};

} // namespace detail

/// An owned array.
using array_ptr = std::unique_ptr<ndArray_tag, detail::ndDestroy_deleter>;

/// A zeroed array of a numeric class, logical or char. complexity counts when it is exactly ndCOMPLEX.
/// Raises as above.
ND_EXPORT array_ptr create(std::span<const std::size_t> dims, ndClassID classId, ndComplexity complexity);

/// A cell whose slots are all null. Raises as above.
ND_EXPORT array_ptr create_cell(std::span<const std::size_t> dims);

namespace detail {

/// A zeroed array of class code & 31, complex when code is above 31. Small arrays come from the calling thread's cache.
ND_EXPORT array_ptr do_create_numeric(std::span<const std::size_t> dims, internal::NdArrayTypeId code);

/// The same with undefined elements.
ND_EXPORT array_ptr do_create_uninitnumeric(std::span<const std::size_t> dims, internal::NdArrayTypeId code);

/// A char array of zero units.
ND_EXPORT array_ptr do_create_char(std::span<const std::size_t> dims);

/// A cell of null slots.
ND_EXPORT array_ptr do_create_cell(std::span<const std::size_t> dims);

/// A new header over source's data block. The block is copied by whoever writes first. Null gives null.
/// Ends the process when the data are private and not shareable. Raises std::bad_alloc; source is then unchanged.
ND_EXPORT array_ptr do_shared_copy(const ndArray_tag* source);

/// A new header with its own copy of the data. Null gives null. Raises as a creator does; source is unchanged.
ND_EXPORT array_ptr do_deep_copy(const ndArray_tag* source);

namespace noninlined::nd_array_api {

/// m by n doubles, zeroed.
ND_EXPORT ndArray_tag* ndCreateDoubleMatrix(std::size_t m, std::size_t n, ndComplexity complexity);

/// m by n elements of the class, zeroed. The class is taken as it is: callers outside the process have had it checked.
ND_EXPORT ndArray_tag* ndCreateNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                             ndComplexity complexity);

/// An N-d array of the class, zeroed. dims: ndim sizes, copied; may be null when ndim is 0.
ND_EXPORT ndArray_tag* ndCreateNumericArray(std::size_t ndim, const std::size_t* dims, ndClassID classId,
                                            ndComplexity complexity);

/// m by n logical values, all false.
ND_EXPORT ndArray_tag* ndCreateLogicalMatrix(std::size_t m, std::size_t n);

/// An N-d logical array, all false.
ND_EXPORT ndArray_tag* ndCreateLogicalArray(std::size_t ndim, const std::size_t* dims);

/// 1x1, holding value.
ND_EXPORT ndArray_tag* ndCreateDoubleScalar(double value);
ND_EXPORT ndArray_tag* ndCreateSingleScalar(float value);
ND_EXPORT ndArray_tag* ndCreateLogicalScalar(bool value);

/// 1x1 of the class, zero.
ND_EXPORT ndArray_tag* ndCreateNumericScalar(ndClassID classId, ndComplexity complexity);

/// m by n doubles, undefined; complex when complexFlag isn't 0.
ND_EXPORT ndArray_tag* ndCreateUninitDoubleMatrix(int complexFlag, std::size_t m, std::size_t n);

/// m by n of the class, undefined; complex when complexity isn't 0.
ND_EXPORT ndArray_tag* ndCreateUninitNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                                   ndComplexity complexity);

/// N-d of the class, undefined; complex when complexity is exactly 1.
ND_EXPORT ndArray_tag* ndCreateUninitNumericArray(std::size_t ndim, const std::size_t* dims,
                                                  ndClassID classId, ndComplexity complexity);

/// The reuse forms take over the data of the first of count candidates that fits: the new array then shares the candidate's
/// block. A candidate fits when it is marked reusable, its data aren't private, it and the new array are numeric, logical or char
/// with elements of the same size, and the length is the same or, where the candidate keeps spare room, the capacity. Without one
/// the elements are undefined. Candidates stay the caller's; the one taken stops being reusable.
ND_EXPORT ndArray_tag* ndCreateNumericMatrixWithReuse(std::size_t m, std::size_t n, ndClassID classId,
                                                      ndComplexity complexity, std::size_t count,
                                                      ndArray_tag** candidates);
ND_EXPORT ndArray_tag* ndCreateNumericArrayWithReuse(std::size_t ndim, const std::size_t* dims,
                                                     ndClassID classId, ndComplexity complexity,
                                                     std::size_t count, ndArray_tag** candidates);
ND_EXPORT ndArray_tag* ndCreateUninitNumericMatrix(std::size_t m, std::size_t n, ndClassID classId,
                                                   ndComplexity complexity, std::size_t count,
                                                   ndArray_tag** candidates);
ND_EXPORT ndArray_tag* ndCreateUninitNumericArray(std::size_t ndim, const std::size_t* dims,
                                                  ndClassID classId, ndComplexity complexity,
                                                  std::size_t count, ndArray_tag** candidates);

/// A 0x0 header of class unknown, with local scope in every mode.
ND_EXPORT ndArray_tag* ndCreateEmptyUnknownArrayNotOnArrayList();

/// A shared copy with local scope in every mode. Null gives null.
ND_EXPORT ndArray_tag* ndCreateSharedCopyNotOnArrayList(const ndArray_tag* array);

/// One more owner for the same header: returns array, which stops being reusable. Null gives null.
ND_EXPORT ndArray_tag* ndCreateReference(ndArray_tag* array);

/// matrix::destroyArray.
ND_EXPORT void ndDestroyArray(ndArray_tag* array);

/// Gives back a reference of internal_ref_count, which the engine took by writing the field. The last owner ends the array.
ND_EXPORT void ndReleaseInternalReference(ndArray_tag* array);

/// Destroys the array if it is a temporary.
ND_EXPORT void ndDestroyTempArrayOnArrayList(ndArray_tag* array);

/// Installs the process-wide hooks for object arrays: create gets each new header of class object that a copy makes, destroy
/// each header of class object that is about to end, while it is whole: also one whose data others share and go on with. Null
/// for none. A hook shouldn't raise: what create raises makes the copy fail, and destroy doesn't hear of that copy; what destroy
/// raises ends the process.
ND_EXPORT void ndSetObjectCreateDestroyFn(void (*create)(ndArray_tag*), void (*destroy)(ndArray_tag*));

} // namespace noninlined::nd_array_api
} // namespace detail
} // namespace matrix

/// The hooks of boost::intrusive_ptr: a reference more and a reference less.
ND_EXPORT void intrusive_ptr_add_ref(ndArray_tag* array);
ND_EXPORT void intrusive_ptr_release(ndArray_tag* array);

#endif
