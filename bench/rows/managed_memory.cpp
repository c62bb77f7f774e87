// Blocks on the alloc list, inside the engine, beside the heap that they come from. What a free costs must not depend on how
// many blocks there are, as long as blocks go in runs of neighbours.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <algorithm>
#include <numeric>

namespace bench {
namespace {

constexpr conditions inside{.in_engine = true};
constexpr std::size_t block_size = 64;
constexpr const char* heap_pair = "malloc+free of the heap";

void managed_pair() { ndFree(ndMalloc(block_size)); }
void heap_malloc_free() { limit_heap_free(limit_heap_malloc(block_size)); }

using order = std::vector<std::size_t> (*)(std::size_t count);

std::vector<std::size_t> first_to_last(std::size_t count) {
    std::vector<std::size_t> places(count);
    std::iota(places.begin(), places.end(), std::size_t{0});
    return places;
}

std::vector<std::size_t> last_to_first(std::size_t count) {
    std::vector<std::size_t> places = first_to_last(count);
    std::reverse(places.begin(), places.end());
    return places;
}

// Runs of a hundred, each from its end to its beginning.
std::vector<std::size_t> runs_of_neighbours(std::size_t count) {
    constexpr std::ptrdiff_t run = 100;
    std::vector<std::size_t> places = first_to_last(count);
    for (auto begin = places.begin(); places.end() - begin >= run; begin += run)
        std::reverse(begin, begin + run);
    return places;
}

// Nanoseconds per free; making the blocks isn't timed.
template <class Allocate, class Free>
meter time_of_frees(std::size_t count, order in_order, Allocate allocate, Free free) {
    return [=](std::size_t repetitions) {
        const std::vector<std::size_t> places = in_order(count);
        std::vector<void*> blocks(count);
        double sum = 0;
        for (std::size_t i = 0; i < repetitions; ++i) {
            for (void*& block : blocks) block = allocate(block_size);
            const double begin = processor_time();
            for (const std::size_t place : places) free(blocks[place]);
            sum += processor_time() - begin;
        }
        return sum / static_cast<double>(count);
    };
}

row frees(const char* work, const char* size, std::size_t count, order in_order) {
    return {.work = work,
            .size = size,
            .limit_name = heap_pair,
            .libnd = time_of_frees(count, in_order, ndMalloc, ndFree),
            .limit = time_of_frees(count, in_order, limit_heap_malloc, limit_heap_free),
            .repetitions = 1,
            .conditions = inside,
            .group = "free_orders"};
}

} // namespace

row_list managed_memory_rows() {
    row_list rows{{.work = "malloc_free",
                   .size = "64 bytes",
                   .limit_name = heap_pair,
                   .libnd = timed(managed_pair),
                   .limit = timed(heap_malloc_free),
                   .conditions = inside}};
    constexpr struct {
        const char* name;
        std::size_t count;
    } sizes[] = {{"1e4", 10'000}, {"1e5", 100'000}, {"1e6", 1'000'000}};
    for (const auto& size : sizes) {
        rows.push_back(frees("free_last_first", size.name, size.count, last_to_first));
        rows.push_back(frees("free_first_last", size.name, size.count, first_to_last));
        rows.push_back(frees("free_neighbours", size.name, size.count, runs_of_neighbours));
    }
    return rows;
}

} // namespace bench
