// The per-thread cache of ready-made pairs: one header with one data block of up to 16240 bytes.
//
// A thread's cache has 18 bins by block size. Creating a small array takes a pair from the smallest bin that fits, ending it
// puts the pair back: a thread-local load, a table lookup and a list operation, without lock or heap. A pair isn't tied to a
// thread: it lands in the bin of the thread that ends it.
//
// Invariants
//   1. A pair in a bin owns its block and nothing else: no share record, no dimension block, no deleter.
//   2. The bin number in flags is the block's real size; every operation that replaces pdata clears flag_cached_header.
//   3. A cache that isn't built yet, or whose thread is ending, has empty bins that hold nothing: it answers like any other
//      whose bins are used up, and the slow way finds out why.
//
// What comes down to list operations is in line here; the rest is in array_cache.cpp. With AddressSanitizer pairs in a bin are
// out of bounds, so that use after destruction shows as it does with memory that went back to the heap.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/header_factory.hpp"
#include "platform/foundation/core/mem/heap_guard.hpp"

#include <nd/create.hpp>

#include <array>
#include <bit>
#include <cstring>

namespace matrix::internal {

inline constexpr std::size_t bin_count = 18;

inline constexpr std::array<std::size_t, bin_count> bin_sizes{
    32, 64, 96, 128, 160, 192, 224, 256, 352, 960, 2048, 4096, 6144, 8192, 9216, 10240, 13312, 16240};

/// Largest data block that the cache keeps, in bytes; a larger dimension alone sends an array past the cache.
inline constexpr std::size_t largest_cached_block = 16240;
static_assert(bin_sizes.back() == largest_cached_block);

/// The bin of a request, by its size in bytes: the smallest that fits.
inline constexpr auto bin_of_size = [] {
    std::array<std::uint8_t, largest_cached_block + 1> table{};
    std::size_t bin = 0;
    for (std::size_t size = 0; size < table.size(); ++size) {
        if (size > bin_sizes[bin]) ++bin;
        table[size] = static_cast<std::uint8_t>(bin);
    }
    return table;
}();

struct ArrayCache {
    struct bin {
        ndArray_tag* head; // linked through next
        std::uint64_t count;
        std::uint64_t max_count;
        std::uint64_t reserved;
    };
    enum class state : std::uint8_t { fresh, built, ended };

    std::array<bin, bin_count> bins;
    std::array<std::uint64_t, 2> counters;
    state stage;
};

[[gnu::tls_model("initial-exec")]] extern constinit thread_local ArrayCache the_cache;
extern constinit bool cache_enabled;

/// Whether creators take pairs. Ending an array puts its pair back whatever this says.
inline bool cache_is_enabled() noexcept { return cache_enabled; }

/// The bin of an array with flag_cached_header, and what its block holds.
inline std::size_t bin_number_of(const ndArray_tag* array) noexcept {
    return (array->flags & flag_bin_mask) >> flag_bin_shift;
}
inline std::size_t bin_size_of(const ndArray_tag* array) noexcept { return bin_sizes[bin_number_of(array)]; }

/// The calling thread's bin for a pair. Its place among the bins comes straight out of flags, since what follows an array's
/// creation at once waits for it.
[[gnu::always_inline]] inline ArrayCache::bin& bin_of(const ndArray_tag* array) noexcept {
    constexpr unsigned bits_of_bin = std::bit_width(sizeof(ArrayCache::bin)) - 1;
    static_assert(sizeof(ArrayCache::bin) == std::size_t{1} << bits_of_bin && bits_of_bin <= flag_bin_shift);
    const std::size_t offset = (array->flags & flag_bin_mask) >> (flag_bin_shift - bits_of_bin);
    return *reinterpret_cast<ArrayCache::bin*>(reinterpret_cast<std::byte*>(the_cache.bins.data()) + offset);
}

constexpr std::uint32_t flags_of_bin(std::size_t bin_number) noexcept {
    return flag_cached_header | static_cast<std::uint32_t>(bin_number << flag_bin_shift);
}

namespace pairs {

/// Null when the bin is empty.
inline ndArray_tag* unlink_pair(std::size_t bin_number) noexcept {
    ArrayCache::bin& bin = the_cache.bins[bin_number];
    ndArray_tag* const pair = bin.head;
    if (pair == nullptr) [[unlikely]]
        return nullptr;
    foundation::core::mem::unguard(pair, sizeof(ndArray_tag));
    foundation::core::mem::unguard(pair->pdata, bin_sizes[bin_number]);
    bin.head = pair->next;
    --bin.count;
    return pair;
}

inline void link_pair(ArrayCache::bin& bin, ndArray_tag* pair) noexcept {
    pair->next = bin.head;
    bin.head = pair;
    ++bin.count;
    foundation::core::mem::guard(pair->pdata, bin_size_of(pair));
    foundation::core::mem::guard(pair, sizeof(ndArray_tag));
}

void zero_large_block(ndArray_tag* pair, std::size_t bytes) noexcept;

// The whole block: its size is a multiple of 32 up to here, and a loop over it is quicker than a call.
inline void zero_block(ndArray_tag* pair, std::size_t bin_number) noexcept {
    constexpr std::size_t largest_for_loop = 352;
    constexpr std::size_t step = 32;
    const std::size_t size = bin_sizes[bin_number];
    if (size > largest_for_loop) return zero_large_block(pair, size);
    char* const block = static_cast<char*>(pair->pdata);
    for (std::size_t at = 0; at < size; at += step) std::memset(block + at, 0, step);
}

} // namespace pairs

/// A pair of the bin that holds this size, made into an m by n array of local scope. Null when the way isn't this short:
/// the cache is off, the bin is empty, elements aren't plain, the array isn't cacheable.
[[gnu::always_inline]] inline ndArray_tag* take_ready_pair(NdArrayTypeId code, std::size_t m, std::size_t n,
                                                           DataInitialization init) noexcept {
    if (!cache_enabled || m > largest_cached_block || n > largest_cached_block) return nullptr;
    const std::int32_t class_id = class_of(code);
    const std::size_t count = m * n;
    const std::size_t bytes = count * element_size(code);
    if (bytes - 1 >= largest_cached_block || !has_plain_elements(class_id)) return nullptr;
    const std::size_t bin_number = bin_of_size[bytes];
    ndArray_tag* const pair = pairs::unlink_pair(bin_number);
    if (pair == nullptr) [[unlikely]]
        return nullptr;
    header_factory::start(pair, class_id, m, n, flags_of_bin(bin_number) | flags_of_matrix(code, count));
    if (init == DataInitialization::zeroed) pairs::zero_block(pair, bin_number);
    return pair;
}

/// An array in a pair of the bin for bytes (1 to largest_cached_block), of any class and any dimensions. The whole block is
/// zeroed if asked for. A miss makes a new pair. Raises what construction raises.
array_ptr take_pair(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init);

/// Puts the pair of an ended array into the calling thread's bin, or finishes it when the bin is full. Can't fail.
void recycle_pair(ndArray_tag* array) noexcept;

/// The same for a pair that owns nothing beside its block: inline dimensions, no share record.
[[gnu::always_inline]] inline void recycle_whole_pair(ndArray_tag* array) noexcept {
    ArrayCache::bin& bin = bin_of(array);
    if (bin.count >= bin.max_count) [[unlikely]]
        return recycle_pair(array);
    array->parent = nullptr;
    pairs::link_pair(bin, array);
}

} // namespace matrix::internal
