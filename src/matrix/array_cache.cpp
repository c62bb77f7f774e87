// The bins of the calling thread.
//
// A thread's cache is fresh until its first use, built while the thread runs, and ended once the thread's exit has emptied
// it: arrays that other exit handlers destroy after that are finished at once, so nothing is rebuilt behind the cleanup.
#include "matrix/array_cache.hpp"

#include "matrix/destroy.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_allocator.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"
#include "matrix/spare_headers.hpp"

#include <foundation/core/diag/diag.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <nd/cache.hpp>

#include <algorithm>
#include <array>
#include <cstring>

namespace matrix::internal {

constinit thread_local ArrayCache the_cache{};
constinit thread_local SpareHeaders the_spare_headers{};
constinit bool cache_enabled = false;

namespace {

// Pairs that a bin keeps: measured on the environment's programs, not derived from the sizes.
constexpr std::array<std::uint64_t, bin_count> bin_limits{284050, 97659, 67418, 42827, 19871, 79200,
                                                          43415,  17000, 8690,  3514,  5178,  5957,
                                                          1599,   721,   631,   803,   360,   204};

void empty_bins() noexcept {
    for (std::size_t i = bin_count; i-- > 0;) {
        while (ndArray_tag* const pair = pairs::unlink_pair(i)) finish_header(pair);
    }
}

// Words that no living header holds, for whoever looks at one after its end.
void poison_and_free(ndArray_tag* header) noexcept {
    constexpr std::int32_t poisoned_class = 0x7FFFFFFF;
    header->class_id = poisoned_class;
    header->pdata = std::bit_cast<void*>(~std::uint64_t{0});
    header->next = std::bit_cast<ndArray_tag*>(~std::uint64_t{0});
    free_header_block(header);
}

// Behind the bins, whose headers may have become spare.
void free_spare_headers() noexcept {
    while (ndArray_tag* const header = detail::unlink_spare_header()) poison_and_free(header);
}

void set_limits(std::uint64_t (*limit_of)(std::size_t)) noexcept {
    for (std::size_t i = 0; i < bin_count; ++i) the_cache.bins[i].max_count = limit_of(i);
}

// Arrays that other exit handlers destroy after this one find bins that hold nothing, and are finished.
struct exit_cleanup {
    bool registered = false;
    ~exit_cleanup() {
        empty_bins();
        free_spare_headers();
        set_limits([](std::size_t) { return std::uint64_t{0}; });
        the_spare_headers.max_count = 0;
        the_cache.stage = ArrayCache::state::ended;
    }
};
thread_local exit_cleanup cleanup;

[[gnu::noinline, gnu::cold]] void build() noexcept {
    constexpr std::size_t largest_low_fragmentation_block = 16368;
    const std::size_t overhead = foundation::core::mem::aligned_heap_instance().overhead();
    foundation::core::diag::check(
        overhead + largest_cached_block <= largest_low_fragmentation_block,
        "m_maxSize exceeds the maximum cutoff for the Windows Low Fragmentation Heap, this will "
        "cause performance regressions on Windows.");
    cleanup.registered = true; // the first touch makes the object whose destructor runs at thread exit
    set_limits([](std::size_t bin) { return bin_limits[bin]; });
    the_spare_headers.max_count = most_spare_headers;
    the_cache.stage = ArrayCache::state::built;
}

/// The calling thread's cache; null once the thread's exit has emptied it.
ArrayCache* usable_cache() noexcept {
    if (the_cache.stage == ArrayCache::state::ended) return nullptr;
    if (the_cache.stage == ArrayCache::state::fresh) build();
    return &the_cache;
}

array_ptr make_pair(NdArrayTypeId code, dims_view dims, std::size_t bin_number, DataInitialization init) {
    array_ptr fresh = header_factory::make(code, dims, bin_sizes[bin_number], init);
    fresh->flags |= flags_of_bin(bin_number);
    return fresh;
}

} // namespace

array_ptr take_pair(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init) {
    const std::size_t bin_number = bin_of_size[bytes];
    prepared_dims prepared(dims);
    ndArray_tag* const pair = usable_cache() == nullptr ? nullptr : pairs::unlink_pair(bin_number);
    if (pair == nullptr) return make_pair(code, dims, bin_number, init);
    header_factory::start(pair, class_of(code), 0, 0,
                          flag_inline_dims | flags_of_bin(bin_number) | flags_of_code(code));
    if (init == DataInitialization::zeroed) pairs::zero_block(pair, bin_number);
    array_ptr array(pair);
    prepared.commit_to_new(pair);
    if (pair->class_id == ndFUNCTION_CLASS || pair->class_id == ndOPAQUE_CLASS) add_to_gc_list(pair);
    return array;
}

void pairs::zero_large_block(ndArray_tag* pair, std::size_t bytes) noexcept {
    std::memset(pair->pdata, 0, bytes);
}

void recycle_pair(ndArray_tag* array) noexcept {
    array->scope = ndUNKNOWN_SCOPE;
    array->parent = nullptr;
    free_dims(array);
    free_share_record(array);
    array->flags &= ~flag_shared_data;
    ArrayCache* const cache = usable_cache();
    if (cache == nullptr ||
        cache->bins[bin_number_of(array)].count >= cache->bins[bin_number_of(array)].max_count) {
        finish_header(array);
        return;
    }
    pairs::link_pair(cache->bins[bin_number_of(array)], array);
}

void give_header_back_slowly(ndArray_tag* header) noexcept {
    if (cache_enabled && usable_cache() != nullptr && the_spare_headers.count < the_spare_headers.max_count)
        return detail::link_spare_header(header);
    poison_and_free(header);
}

} // namespace matrix::internal

namespace matrix::cache {

bool isEnabled() { return internal::cache_enabled; }

void setEnabled(bool enabled) { internal::cache_enabled = enabled; }

void clear() {
    if (internal::ArrayCache* const cache = internal::usable_cache()) {
        internal::empty_bins();
        internal::free_spare_headers();
        cache->counters = {};
    }
}

CacheInfo::CacheInfo() : counters{}, total_count(0), total_bytes(0) {
    const internal::ArrayCache* const cache = internal::usable_cache();
    bins.reserve(internal::bin_count);
    for (std::size_t i = 0; i < internal::bin_count; ++i) {
        const std::size_t count = cache == nullptr ? 0 : cache->bins[i].count;
        const std::size_t bytes = count * (internal::bin_sizes[i] + sizeof(ndArray_tag));
        bins.push_back({internal::bin_sizes[i], count, bytes});
        total_count += count;
        total_bytes += bytes;
    }
    if (cache != nullptr) std::copy(cache->counters.begin(), cache->counters.end(), counters);
}

std::span<const std::size_t> CacheInfo::getBinSizes() { return internal::bin_sizes; }

} // namespace matrix::cache
