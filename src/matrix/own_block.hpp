// The data block that a header alone uses: giving it back, and putting another in its place.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// What a header says about the block in it, not about the array.
inline constexpr std::uint32_t flags_of_block =
    flag_cached_header | flag_bin_mask | flag_capacity_tracked | flag_data_private | flag_share_data_private;

/// Gives the block to its custom deleter, which is forgotten, or to the heap; one that isn't the array's own is left alone. pdata
/// is stale then, and the marks of the old block stay.
void release_own_block(ndArray_tag* array) noexcept;

/// Puts a block of the library's heap, or none, in the place of pdata; the old one goes as above. Its marks go too.
void replace_block(ndArray_tag* array, void* block) noexcept;

} // namespace matrix::internal
