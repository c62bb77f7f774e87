// Creating and destroying arrays of a million elements, in the plain library. The limit is the heap itself, or pages of the
// system. Fills are the same loop on both sides, here in the benchmark.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <algorithm>
#include <memory>

namespace bench {
namespace {

constexpr std::size_t faulting_runs = 64;

[[gnu::noinline]] void fill_million(void* data) { std::fill_n(static_cast<double*>(data), million.m, 1.5); }

ndArray_tag* filled_million() {
    ndArray_tag* const array = ndCreateUninitDoubleMatrix(0, million.m, million.n);
    fill_million(ndGetDoubles(array));
    return array;
}

limit_array* kept_million() {
    limit_array* const array = limit_create_kept(million.m, million.n);
    fill_million(limit_data(array));
    return array;
}

void* mapped_million() {
    void* const block = limit_map(bytes_of_million);
    fill_million(block);
    return block;
}

void fill_64() { alive_together<64, ndArray_tag>(filled_million, ndDestroyArray); }
void fill_64_kept() { alive_together<64, limit_array>(kept_million, limit_destroy_kept); }
void fill_64_mapped() {
    alive_together<64, void>(mapped_million, [](void* block) { limit_unmap(block, bytes_of_million); });
}

void create_zero_fill() {
    ndArray_tag* const array = ndCreateDoubleMatrix(million.m, million.n, ndREAL);
    fill_million(ndGetDoubles(array));
    ndDestroyArray(array);
}

void calloc_fill() {
    void* const block = limit_heap_calloc(bytes_of_million);
    fill_million(block);
    limit_heap_free(block);
}

void heap_calloc() { limit_heap_free(limit_heap_calloc(bytes_of_million)); }
void heap_malloc() { limit_heap_free(limit_heap_malloc(bytes_of_million)); }

// A deep copy, beside the same bytes in a block of the heap.
row duplicate() {
    const std::shared_ptr<ndArray_tag> array(filled_million(), ndDestroyArray);
    return {.work = "duplicate",
            .size = "1e6",
            .limit_name = "malloc+memcpy+free of the heap",
            .libnd = timed([array] { ndDestroyArray(ndDuplicateArray(array.get())); }),
            .limit = timed(
                [array] { limit_heap_free(limit_heap_copy(ndGetDoubles(array.get()), bytes_of_million)); })};
}

constexpr const char* heap_calloc_name = "calloc+free of the heap";
constexpr const char* heap_malloc_name = "malloc+free of the heap, no page touched";

} // namespace

row_list large_creation_rows() {
    return {
        {.work = "create_fill_64_alive(fresh)",
         .size = "64of1e6",
         .limit_name = "mmap+2MiB-pages",
         .libnd = timed_fresh(fill_64),
         .limit = timed_fresh(fill_64_mapped),
         .repetitions = 1},
        {.work = "create_fill_64_alive(kept)",
         .size = "64of1e6",
         .limit_name = "freelist-hdr+data,kept",
         .libnd = timed(fill_64),
         .limit = timed(fill_64_kept)},
        {.work = "create_zero",
         .size = "1e6",
         .limit_name = heap_calloc_name,
         .libnd = timed(create_zero{million}),
         .limit = timed(heap_calloc)},
        {.work = "create_raw",
         .size = "1e6",
         .limit_name = heap_malloc_name,
         .libnd = timed(create_raw{million}),
         .limit = timed(heap_malloc)},
        {.work = "create_zero_fill",
         .size = "1e6",
         .limit_name = "calloc+fill+free of the heap",
         .libnd = timed(create_zero_fill),
         .limit = timed(calloc_fill)},
        duplicate(),
        {.work = "create_zero_faults",
         .size = "1e6",
         .limit_name = heap_calloc_name,
         .libnd = faults(create_zero{million}),
         .limit = faults(heap_calloc),
         .unit = unit::page_faults,
         .repetitions = faulting_runs},
        {.work = "create_raw_faults",
         .size = "1e6",
         .limit_name = heap_malloc_name,
         .libnd = faults(create_raw{million}),
         .limit = faults(heap_malloc),
         .unit = unit::page_faults,
         .repetitions = faulting_runs},
    };
}

} // namespace bench
