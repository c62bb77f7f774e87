/*
 * nd/sizes.hpp: how large an array may be.
 *
 * Two limits hold. The ceiling: no element count and no byte size above 2^48 - 1. The user's limit: a percentage of the
 * machine's memory that one array may have, off until somebody turns it on.
 */
#ifndef ND_SIZES_HPP
#define ND_SIZES_HPP

#include <nd/messages.hpp>
#include <nd/types.h>

#include <foundation/core/except/exception.hpp>

#include <cstdint>
#include <exception>
#include <span>
#include <utility>

namespace matrix {

/// The process-wide limit on one array's bytes. Any thread may call; a change reaches other threads a moment later.
class ND_EXPORT ArraySizeLimit {
public:
    /// The one object; never destroyed.
    static ArraySizeLimit& getInstance();

    virtual std::uint32_t getPercent() = 0; ///< percent of physical memory; 100 at start
    /// Above 100 is allowed. A share that comes out as 0 bytes is no limit: 0 percent lets everything through.
    virtual void setPercent(std::uint32_t percent) = 0;
    virtual void setEnabled(bool enabled) = 0; ///< off at start; while off no limit holds
    virtual bool isEnabled() = 0;
    virtual ~ArraySizeLimit();
};

namespace internal {

/// An array would pass the user's limit, or a size doesn't fit the 32-bit interface.
/// Identifier "SizeLimitExceeded" of catalog "TARVEL:array", with three texts: dimensions ("3x4"; "5x1" for a single 5),
/// requested size and limit ("16.0GB").
class ND_EXPORT SizeLimitExceeded
    : public foundation::core::except::Exception<TARVEL::array::SizeLimitExceeded, std::exception, void> {
public:
    /// dims as asked for; bytes requested and limit in bytes.
    SizeLimitExceeded(std::span<const std::size_t> dims, std::size_t bytes, std::size_t limit);
    /// From the identifier with its texts.
    explicit SizeLimitExceeded(TARVEL::array::SizeLimitExceeded id)
        : Exception(std::move(id)) {} // NOLINT: the base, not an exception that is forgotten
    SizeLimitExceeded(const SizeLimitExceeded&) = default;
    SizeLimitExceeded& operator=(const SizeLimitExceeded&) = default;
    ~SizeLimitExceeded() override;

    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;

    /// The identifier with its three texts. Writes to the channel "matrix::sizelimit" when that is on.
    static TARVEL::array::SizeLimitExceeded makeMessage(std::span<const std::size_t> dims, std::size_t bytes,
                                                        std::size_t limit);
};

} // namespace internal

namespace detail::noninlined::nd_array_api {

/// The element count of dims (ndim sizes; null allowed when ndim is 0, the count is then 0). elementSize in bytes.
/// Raises TARVEL:pmaxsize above the ceiling, SizeLimitExceeded above the user's limit.
ND_EXPORT std::size_t ndCheckDim(const std::size_t* dims, std::size_t ndim, std::size_t elementSize);

/// The same with the class's element size. A struct counts as size 0: its data say nothing about its size.
ND_EXPORT std::size_t ndCheckDim(const std::size_t* dims, std::size_t ndim, ndClassID classId,
                                 ndComplexity complexity);

/// True and the count in *out (unless null) where ndCheckDim wouldn't raise; otherwise false and *out untouched.
ND_EXPORT bool ndCheckDim_nothrow(const std::size_t* dims, std::size_t ndim, std::size_t elementSize,
                                  std::size_t* out);
ND_EXPORT bool ndCheckDim_nothrow(const std::size_t* dims, std::size_t ndim, ndClassID classId,
                                  ndComplexity complexity, std::size_t* out);

/// Only the ceiling on the element count.
ND_EXPORT std::size_t ndCheckDimForIndexing(const std::size_t* dims, std::size_t ndim);
ND_EXPORT bool ndCheckDimForIndexing_nothrow(const std::size_t* dims, std::size_t ndim, std::size_t* out);

/// The same six for m by n.
ND_EXPORT std::size_t ndCheckMN(std::size_t m, std::size_t n, std::size_t elementSize);
ND_EXPORT std::size_t ndCheckMN(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity);
ND_EXPORT bool ndCheckMN_nothrow(std::size_t m, std::size_t n, std::size_t elementSize, std::size_t* out);
ND_EXPORT bool ndCheckMN_nothrow(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity,
                                 std::size_t* out);
ND_EXPORT std::size_t ndCheckMNForIndexing(std::size_t m, std::size_t n);
ND_EXPORT bool ndCheckMNForIndexing_nothrow(std::size_t m, std::size_t n, std::size_t* out);

/// The element count of an m by n sparse matrix with room for nzmax elements of the class. Raises as ndCheckDim does; the
/// bytes are those of nzmax elements, of nzmax row indices and of n + 1 column starts, 8 an index.
ND_EXPORT std::size_t ndCheckSparse(std::size_t m, std::size_t n, std::size_t nzmax, ndClassID classId,
                                    ndComplexity complexity);

/// Elements that a growing block is allocated for when it must hold n: n itself up to 256, then the next power of two, and
/// above 2^27 - 1 the next multiple of 2^27.
ND_EXPORT kvSize ndGetCapacity(kvSize n);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
