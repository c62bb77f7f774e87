/*
 * nd/cache.hpp: the per-thread cache of small arrays.
 *
 * Each thread keeps bins of ready-made pairs of a header and a data block of up to 16240 bytes. Creating a small array takes
 * a pair from a bin of the calling thread, ending one puts it back; no lock, no heap.
 */
#ifndef ND_CACHE_HPP
#define ND_CACHE_HPP

#include <nd/types.h>

#include <cstdint>
#include <span>
#include <vector>

namespace matrix::cache {

/// Whether creators take pairs from the cache. Off till matrix::initModule(mode_in_engine) turns it on. Turning it off
/// doesn't empty bins, and arrays made from them still go back. To be changed only while no other thread creates arrays.
ND_EXPORT bool isEnabled();
ND_EXPORT void setEnabled(bool enabled);

/// Frees every pair in the calling thread's bins and sets its counters to 0. Never raises.
ND_EXPORT void clear();

/// What the calling thread's cache holds, as it was when the object was made.
struct CacheInfo {
    struct row {
        std::size_t bin_size; ///< bytes of each data block
        std::size_t count;    ///< pairs in the bin
        std::size_t bytes;    ///< count times (bin_size + size of a header)
    };

    std::uint64_t counters[2]; ///< 0 unless an environment counts in them
    std::size_t total_count;   ///< pairs in all bins
    std::size_t total_bytes;   ///< bytes in all bins
    std::vector<row> bins;     ///< 18 rows, ascending sizes

    /// Raises std::bad_alloc.
    ND_EXPORT CacheInfo();

    /// The 18 block sizes in bytes, ascending. Static.
    ND_EXPORT static std::span<const std::size_t> getBinSizes();
};

} // namespace matrix::cache

#endif
