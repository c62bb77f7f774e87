/*
 * nd/subscripts.hpp: subscripts as arrays, checked and converted, for code in the engine's process.
 *
 * A subscript is an array that selects positions of one dimension, counted from 1:
 *
 *   ':' as text     every position. A char array of more than one colon is a numeric subscript
 *   colon object    the positions of its range; operands with a fraction are rounded, with the warning TARVEL:colon:nonIntegerIndex
 *   logical         the positions of its true elements. Elements beyond the dimension are allowed as long as they are false
 *   numeric, char   its values, which are whole numbers from 1 to 2^48 - 1. Sparse ones may have no zero
 *   any other       no position
 *
 * A colon object counts by the three doubles of ndGetColonObjValues (nd/colon.hpp), not by the vector that it stands for. The two are
 * the same where these are whole and exact. With a fraction they aren't: the vector is no subscript, or in an integer class goes on by
 * the whole part of the step, where the colon object rounds each position. int64 5:2.5:9 stands for 5 7 9 and selects 5 and 8. Whoever
 * needs room for positions converts first and asks for their number then; ndCountIntColonObj tells that of the vector here.
 *
 * The errors, raised as exceptions in every module mode:
 *
 *   TARVEL:badsubscript     TARVEL:matrix:badTypeIndices for a value that can't be an index: zero, negative, with a fraction, NaN, infinite,
 *                           complex; and for an array that has elements but no data. TARVEL:matrix:indexExceedsDims for one beyond the
 *                           array's dimensions. Both tell the position of the subscript among the others, counted from 1, its
 *                           value, and the latter the dimensions
 *   TARVEL:pmaxsize         an index above 2^48 - 1, where no dimensions are known; a range of more positions than a list may have,
 *                           also where they are
 *   SizeLimitExceeded       a range whose list of positions passes the limit that the user has set
 *   TARVEL:colon:nonFiniteEndpoint  a colon object with an operand that is infinite or NaN
 *   TARVEL:nomem            no memory for a list of positions
 *   std::bad_alloc          no memory for anything else: the vector of a range with fractions, the text of an error, separate parts that have
 *                           to be brought into the data
 * and the warning TARVEL:colon:nonIntegerIndex as Korvane::System::SimpleException, where it is set to be an error.
 */
#ifndef ND_SUBSCRIPTS_HPP
#define ND_SUBSCRIPTS_HPP

#include <nd/array.hpp>
#include <nd/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Korvane::indexing::utilities {

enum class IndicesType : std::int32_t { numeric = 0, logical = 1 };

/// Knows which subscript of an operation is at work, and raises its errors. A plain value, made for each operation. The functions
/// with a value say it in the message, as text.
class BadSubscriptHandler {
public:
    /// For an operation that may grow the array. position counts the subscripts from 1: the one that comes first.
    ND_EXPORT static BadSubscriptHandler InitializeInvalidIndexHandler(std::size_t nsubs,
                                                                       std::size_t position) noexcept;

    /// For an operation whose subscripts must stay within the array. dims are the array's own; they are read when an error is
    /// raised.
    ND_EXPORT static BadSubscriptHandler InitializeIndexExceedsBoundsHandler(std::size_t nsubs,
                                                                             std::size_t ndims,
                                                                             const std::size_t* dims,
                                                                             std::size_t position) noexcept;

    /// On to the next subscript.
    void IncrementSubscript() noexcept { ++position_; }

    /// badTypeIndices.
    [[noreturn]] ND_EXPORT void ThrowInvalidIndexError() const;
    [[noreturn]] ND_EXPORT void ThrowInvalidIndexError(std::string value) const;

    /// pmaxsize.
    [[noreturn]] ND_EXPORT void ThrowIndexTooLargeError() const;

    /// indexExceedsDims. The value of a logical subscript is the position of its last true element.
    [[noreturn]] ND_EXPORT void ThrowIndexExceedsDimensionsError(IndicesType type) const;
    [[noreturn]] ND_EXPORT void ThrowIndexExceedsDimensionsError(IndicesType type, std::string value) const;

    /// Whether the handler is one for subscripts within the array.
    bool IsThrowIndexExceedsDimension() const noexcept { return with_bounds_; }

    /// indexExceedsDims from such a handler, pmaxsize from any other.
    [[noreturn]] ND_EXPORT void ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType type) const;
    [[noreturn]] ND_EXPORT void ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType type,
                                                                          std::string value) const;

private:
    BadSubscriptHandler(std::size_t nsubs, std::size_t position, std::size_t ndims, const std::size_t* dims,
                        bool with_bounds) noexcept
        : nsubs_(nsubs), position_(position), ndims_(ndims), dims_(dims), with_bounds_(with_bounds) {}

    std::string dimensions() const; ///< as text; empty when they aren't known

    std::size_t nsubs_;
    std::size_t position_;
    std::size_t ndims_;
    const std::size_t* dims_;
    bool with_bounds_;
};

} // namespace Korvane::indexing::utilities

/// Which error a subscript gives.
enum ndSubscriptErrorCode : std::int32_t { ndBAD_INDEX_TYPE = 1, ndINDEX_EXCEEDS_DIMENSIONS = 2 };

namespace matrix::detail::noninlined::nd_array_api {

/// Converts one subscript of a dimension of size dim; that it fits there isn't asked. The result is -1 for the colon, 1 for a subscript that
/// selects nothing and 0 for any other. count: how many positions; maxIndex: the largest, counted from 1, and 0 when there
/// are none; both are dim for the colon. indices: the positions, counted from 0, in their order: a list that the caller frees with
/// ndFreeEx, or null for the colon and for nothing. The results are written when nothing has been raised.
ND_EXPORT int ndConvertToIndex(const ndArray_tag* const* subscript, kvSize dim, kvSize* count,
                               kvSize* maxIndex, kvIndex** indices,
                               const Korvane::indexing::utilities::BadSubscriptHandler& handler);

/// A number as a size or index: without its fraction, and 0 for a negative one. Raises TARVEL:nonaninf for infinity and NaN,
/// TARVEL:pmaxsize above 2^48 - 1.
ND_EXPORT kvSize ndCheckIndex(double value);

/// Reads n sizes or indices from an array of n numbers, as ndCheckIndex does; n zeros from an empty array. A colon object counts as the vector
/// that it stands for. Nothing is written when something is raised, tested in this order:
///   TARVEL:badopt                n exceeds the number of elements
///   TARVEL:NonScalarInput        n is less
///   TARVEL:obsoleteComplexInput  the array is complex
///   TARVEL:badopt                it has no data, or is of a class without numbers
/// and then for each element in turn, a negative one aside
///   TARVEL:nonaninf              it is infinite or NaN
///   TARVEL:pmaxsize              it is above 2^48 - 1
///   TARVEL:NonIntegerInput       it has a fraction (TARVEL:matrix:nonIntegerInput)
/// Raises std::bad_alloc, and for a colon object what its expansion raises.
ND_EXPORT void ndArgMustBeIndices(const ndArray_tag* arg, std::size_t n, kvSize* out);

/// Raises TARVEL:badsubscript: badTypeIndices for ndBAD_INDEX_TYPE, else indexExceedsDims, without a word on which subscript.
[[noreturn]] ND_EXPORT void ndHandleSubscriptError(ndSubscriptErrorCode code);

} // namespace matrix::detail::noninlined::nd_array_api

#endif
