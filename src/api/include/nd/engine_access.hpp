/*
 * nd/engine_access.hpp: the positions and masks by which an execution engine reads arrays without calling the library.
 */
#ifndef ND_ENGINE_ACCESS_HPP
#define ND_ENGINE_ACCESS_HPP

#include <nd/array.hpp>

#include <array>

namespace matrix::engine_access {

/// Byte positions of header fields, then flag masks, as one record of words. The order is a contract with the engine.
struct NdArrayOffsets {
    std::uint64_t pdata;
    std::uint64_t share_record;
    std::uint64_t scope;
    std::uint64_t ref_count;
    std::uint64_t internal_ref_count;
    std::uint64_t flags;
    std::uint64_t root_record;
    std::uint64_t first_dims[2];  ///< m_or_dims, n_or_ndims
    std::uint64_t second_dims[2]; ///< the same again: readers of rows and readers of columns have a pair each
    std::array<std::uint32_t, 16> masks; ///< 0x1 to 0x2000 in order, 0x80000, 0x100000

    /// Fills the record from the header's layout.
    ND_EXPORT NdArrayOffsets();
};

/// Cheap and pessimistic: more than one owner, or the shared-data hint is set, whatever the count says. False for null.
ND_EXPORT bool mightBeShared(const ndArray_tag* array);

} // namespace matrix::engine_access

#endif
