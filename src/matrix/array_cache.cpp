// The bins of the calling thread.
//
// A thread's cache is fresh until its first use, built while the thread runs, and ended once the thread's exit has emptied
// it: arrays that other exit handlers destroy after that are finished at once, so nothing is rebuilt behind the cleanup.
#include "matrix/array_cache.hpp"

#include "matrix/destroy.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"

#include <foundation/core/diag/diag.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <nd/cache.hpp>

#include <algorithm>
#include <array>
#include <cstring>

namespace matrix::internal {
namespace {

constexpr std::size_t bin_count = 18;

constexpr std::array<std::size_t, bin_count> bin_sizes{
    32, 64, 96, 128, 160, 192, 224, 256, 352, 960, 2048, 4096, 6144, 8192, 9216, 10240, 13312, 16240};

// Pairs that a bin keeps: measured on the environment's programs, not derived from the sizes.
constexpr std::array<std::uint64_t, bin_count> bin_limits{284050, 97659, 67418, 42827, 19871, 79200,
                                                          43415,  17000, 8690,  3514,  5178,  5957,
                                                          1599,   721,   631,   803,   360,   204};

static_assert(bin_sizes.back() == largest_cached_block);

/// The bin of a request, by its size in bytes: the smallest that fits.
constexpr auto bin_of_size = [] {
    std::array<std::uint8_t, largest_cached_block + 1> table{};
    std::size_t bin = 0;
    for (std::size_t size = 0; size < table.size(); ++size) {
        if (size > bin_sizes[bin]) ++bin;
        table[size] = static_cast<std::uint8_t>(bin);
    }
    return table;
}();

struct cache_bin {
    ndArray_tag* head;
    std::uint64_t count;
};

enum class cache_state : std::uint8_t { fresh, built, ended };

struct thread_cache {
    std::array<cache_bin, bin_count> bins;
    std::array<std::uint64_t, 2> counters;
    cache_state state;
};

[[gnu::tls_model("initial-exec")]] constinit thread_local thread_cache the_cache{};

constinit bool cache_enabled = false;

std::size_t bin_number_of(const ndArray_tag* array) noexcept {
    return (array->flags & flag_bin_mask) >> flag_bin_shift;
}

void empty_bin(cache_bin& bin) noexcept {
    while (bin.head != nullptr) {
        ndArray_tag* const pair = bin.head;
        bin.head = pair->next;
        --bin.count;
        finish_header(pair);
    }
}

void empty_bins(thread_cache& cache) noexcept {
    std::for_each(cache.bins.rbegin(), cache.bins.rend(), empty_bin);
}

struct exit_cleanup {
    bool registered = false;
    ~exit_cleanup() {
        empty_bins(the_cache);
        the_cache.state = cache_state::ended;
    }
};
thread_local exit_cleanup cleanup;

[[gnu::noinline, gnu::cold]] void build(thread_cache& cache) noexcept {
    constexpr std::size_t largest_low_fragmentation_block = 16368;
    const std::size_t overhead = foundation::core::mem::aligned_heap_instance().overhead();
    foundation::core::diag::check(
        overhead + largest_cached_block <= largest_low_fragmentation_block,
        "m_maxSize exceeds the maximum cutoff for the Windows Low Fragmentation Heap, this will "
        "cause performance regressions on Windows.");
    cleanup.registered = true; // the first touch makes the object whose destructor runs at thread exit
    cache.state = cache_state::built;
}

/// The calling thread's cache, or null once its cleanup has run.
thread_cache* usable_cache() noexcept {
    if (the_cache.state == cache_state::built) [[likely]]
        return &the_cache;
    if (the_cache.state == cache_state::ended) return nullptr;
    build(the_cache);
    return &the_cache;
}

ndArray_tag* pop(std::size_t bin_number) noexcept {
    thread_cache* const cache = usable_cache();
    if (cache == nullptr) return nullptr;
    cache_bin& bin = cache->bins[bin_number];
    ndArray_tag* const pair = bin.head;
    if (pair != nullptr) {
        bin.head = pair->next;
        --bin.count;
    }
    return pair;
}

// What a pair becomes when it is taken: a header like a constructed one, around the block that it brought.
array_ptr reuse_pair(ndArray_tag* pair, NdArrayTypeId code, std::size_t bin_number,
                     DataInitialization init) noexcept {
    void* const block = pair->pdata;
    header_factory::reset(pair);
    pair->class_id = class_of(code);
    pair->flags |= flags_of_code(code);
    pair->pdata = block;
    if (init == DataInitialization::zeroed) std::memset(block, 0, bin_sizes[bin_number]);
    return array_ptr(pair);
}

} // namespace

bool cache_is_enabled() noexcept { return cache_enabled; }

std::size_t bin_size_of(const ndArray_tag* array) noexcept { return bin_sizes[bin_number_of(array)]; }

array_ptr take_pair(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init) {
    const std::size_t bin_number = bin_of_size[bytes];
    const std::uint32_t bin_flags =
        flag_cached_header | static_cast<std::uint32_t>(bin_number << flag_bin_shift);
    prepared_dims prepared(dims);
    ndArray_tag* const pair = pop(bin_number);
    if (pair == nullptr) {
        array_ptr fresh = header_factory::make(code, dims, bin_sizes[bin_number], init);
        fresh->flags |= bin_flags;
        return fresh;
    }
    array_ptr array = reuse_pair(pair, code, bin_number, init);
    prepared.commit_to_new(array.get());
    array->flags |= bin_flags;
    if (array->class_id == ndFUNCTION_CLASS || array->class_id == ndOPAQUE_CLASS) add_to_gc_list(array.get());
    return array;
}

void recycle_pair(ndArray_tag* array) noexcept {
    array->parent = nullptr;
    free_dims(array);
    free_share_record(array);
    array->flags &= ~flag_shared_data;
    const std::size_t bin_number = bin_number_of(array);
    thread_cache* const cache = usable_cache();
    if (cache == nullptr || cache->bins[bin_number].count >= bin_limits[bin_number]) {
        finish_header(array);
        return;
    }
    cache_bin& bin = cache->bins[bin_number];
    array->next = bin.head;
    bin.head = array;
    ++bin.count;
}

} // namespace matrix::internal

namespace matrix::cache {

bool isEnabled() { return internal::cache_enabled; }

void setEnabled(bool enabled) { internal::cache_enabled = enabled; }

void clear() {
    if (internal::thread_cache* const cache = internal::usable_cache()) {
        internal::empty_bins(*cache);
        cache->counters = {};
    }
}

CacheInfo::CacheInfo() : counters{}, total_count(0), total_bytes(0) {
    const internal::thread_cache* const cache = internal::usable_cache();
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
