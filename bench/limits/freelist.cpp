// Pairs of a header and a block, kept in thread-local lists by block size in steps of 64 bytes. Lists only grow: the
// benchmark ends before that matters.
#include "array_header.hpp"

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t step = 64;
constexpr std::size_t largest_block = 16384;
constexpr std::size_t short_block = 256; // up to here stores in line are quicker than a call of memset

[[gnu::tls_model("initial-exec")]] constinit thread_local std::array<limit_array*, largest_block / step + 1>
    lists{};

[[gnu::noinline, gnu::cold]] limit_array* make_pair(std::size_t list) noexcept {
    auto* const array = static_cast<limit_array*>(std::malloc(sizeof(limit_array)));
    if (array == nullptr) return nullptr;
    array->data = std::aligned_alloc(step, list == 0 ? step : list * step);
    if (array->data != nullptr) return array;
    std::free(array);
    return nullptr;
}

// The two ways out of the hot path that call something; apart, so that the hot path saves no registers for them.
[[gnu::noinline]] limit_array* zeroed_by_call(limit_array* array) noexcept {
    std::memset(array->data, 0, array->m * array->n * sizeof(double));
    return array;
}

[[gnu::noinline, gnu::cold]] limit_array* create_fresh(std::size_t m, std::size_t n,
                                                       std::size_t list) noexcept {
    limit_array* const array = make_pair(list);
    if (array == nullptr) return nullptr;
    limits::start(array, m, n, static_cast<std::uint32_t>(list));
    return zeroed_by_call(array);
}

inline limit_array* create(std::size_t m, std::size_t n, bool zeroed) noexcept {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(m, n, &bytes) || bytes > largest_block / sizeof(double)) return nullptr;
    bytes *= sizeof(double);
    const std::size_t list = (bytes + step - 1) / step;
    limit_array* const array = lists[list];
    if (array == nullptr) [[unlikely]]
        return create_fresh(m, n, list);
    lists[list] = array->next;
    limits::start(array, m, n, static_cast<std::uint32_t>(list));
    if (!zeroed) return array;
    if (bytes > short_block) return zeroed_by_call(array);
    // Whole lines of the block, up to the end of the elements.
    auto* const begin = static_cast<char*>(array->data);
    for (std::size_t at = 0; at < bytes; at += step) std::memset(begin + at, 0, step);
    return array;
}

} // namespace

limit_array* limit_create_zero(size_t m, size_t n) { return create(m, n, true); }

limit_array* limit_create_raw(size_t m, size_t n) { return create(m, n, false); }

void limit_destroy(limit_array* array) {
    if (array->owners > 1) {
        --array->owners;
        return;
    }
    limit_array*& head = lists[array->list];
    array->next = head;
    head = array;
}

void* limit_data(const limit_array* array) { return array->data; }
