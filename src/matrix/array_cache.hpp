// The per-thread cache of ready-made pairs: one header with one data block of up to 16240 bytes.
//
// A thread's cache has 18 bins by block size. Creating a small array takes a pair from the smallest bin that fits, ending it
// puts the pair back: a thread-local load, a table lookup and a list operation, without lock or heap. A pair isn't tied to a
// thread: it lands in the bin of the thread that ends it.
//
// Invariants
//   1. A pair in a bin owns its block and nothing else: no share record, no dimension block, no deleter.
//   2. The bin number in flags is the block's real size; every operation that replaces pdata clears flag_cached_header.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Largest data block that the cache keeps, in bytes; a larger dimension alone sends an array past the cache.
inline constexpr std::size_t largest_cached_block = 16240;

/// Whether creators take pairs. Ending an array puts its pair back whatever this says.
bool cache_is_enabled() noexcept;

/// An array in a pair of the bin for bytes (1 to largest_cached_block). The whole block is zeroed if asked for. A miss makes
/// a new pair. Raises what construction raises.
array_ptr take_pair(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init);

/// Bytes of the block of an array with flag_cached_header.
std::size_t bin_size_of(const ndArray_tag* array) noexcept;

/// Puts the pair of an ended array into the calling thread's bin, or finishes it when the bin is full.
void recycle_pair(ndArray_tag* array) noexcept;

} // namespace matrix::internal
