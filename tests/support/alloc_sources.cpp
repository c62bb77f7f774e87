// Counting and failing allocations. operator new and its family are replaced here for the whole program.
//
// This file allocates nothing itself: it runs inside every allocation, also before main and on threads that end.
#include "support/alloc_sources.hpp"

#include "matrix/test_hooks.hpp"
#include "platform/test_hooks.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <ostream>

namespace test {
namespace {

struct live_counters {
    std::atomic<long> header_slots{0};
    std::atomic<long> aligned_heap{0};
    std::atomic<long> operator_new{0};
};
constinit live_counters counters;

constinit thread_local injection* armed = nullptr;

bool admitted() noexcept { return armed == nullptr || armed->admit(); }

void* counted(std::atomic<long>& counter, void* block) noexcept {
    if (block != nullptr) counter.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void uncount(std::atomic<long>& counter, const void* block) noexcept {
    if (block != nullptr) counter.fetch_sub(1, std::memory_order_relaxed);
}

// ---- the library's two tables; what stood in them before is reached through these copies

matrix::internal::header_slots real_headers{};
foundation::core::mem::aligned_heap real_heap{};

void* header_malloc(std::size_t size) {
    return admitted() ? counted(counters.header_slots, real_headers.malloc(size)) : nullptr;
}
void* header_calloc(std::size_t n, std::size_t size) {
    return admitted() ? counted(counters.header_slots, real_headers.calloc(n, size)) : nullptr;
}
void header_free(void* block) {
    uncount(counters.header_slots, block);
    real_headers.free(block);
}

void* heap_malloc(std::size_t size) {
    return admitted() ? counted(counters.aligned_heap, real_heap.malloc(size)) : nullptr;
}
void* heap_calloc(std::size_t n, std::size_t size) {
    return admitted() ? counted(counters.aligned_heap, real_heap.calloc(n, size)) : nullptr;
}
void* heap_realloc(void* block, std::size_t size) {
    if (!admitted()) return nullptr;
    void* const moved = real_heap.realloc(block, size);
    return block == nullptr ? counted(counters.aligned_heap, moved) : moved;
}
void heap_free(void* block) {
    uncount(counters.aligned_heap, block);
    real_heap.free(block);
}

// ---- operator new

void* plain_block(std::size_t size) noexcept {
    return admitted() ? counted(counters.operator_new, std::malloc(size == 0 ? 1 : size)) : nullptr;
}

void* aligned_block(std::size_t size, std::align_val_t alignment) noexcept {
    if (!admitted()) return nullptr;
    const auto to = static_cast<std::size_t>(alignment);
    return counted(counters.operator_new, std::aligned_alloc(to, (size + to - 1) / to * to));
}

void* or_throw(void* block) {
    if (block == nullptr) throw std::bad_alloc{};
    return block;
}

void give_back(void* block) noexcept {
    uncount(counters.operator_new, block);
    std::free(block);
}

} // namespace

injection::injection(const fault_plan& plan) noexcept : plan_(plan) { armed = this; }

injection::~injection() { armed = nullptr; }

bool injection::admit() noexcept {
    ++points_;
    if (plan_.first == 0 || points_ < plan_.first) return true;
    const bool fails =
        points_ == plan_.first || plan_.then == fault_plan::follow_up::for_ever ||
        (plan_.then == fault_plan::follow_up::second && points_ == plan_.first + plan_.distance);
    if (fails) ++failures_;
    return !fails;
}

live_blocks count_live_blocks() noexcept {
    return {counters.header_slots.load(), counters.aligned_heap.load(), counters.operator_new.load()};
}

void install_counting_allocators() {
    real_headers = matrix::internal::slots_in_force;
    static constexpr matrix::internal::header_slots counting_headers{header_malloc, header_calloc,
                                                                     header_free};
    matrix::internal::test_hooks::set_header_slots(&counting_headers);

    real_heap = foundation::core::mem::aligned_heap_instance();
    foundation::test_hooks::swap_aligned_heap(
        {heap_malloc, heap_calloc, heap_realloc, heap_free, real_heap.overhead_bytes});
}

live_blocks operator-(const live_blocks& a, const live_blocks& b) {
    return {a.header_slots - b.header_slots, a.aligned_heap - b.aligned_heap,
            a.operator_new - b.operator_new};
}

std::ostream& operator<<(std::ostream& out, const live_blocks& blocks) {
    return out << "header slots " << blocks.header_slots << ", aligned heap " << blocks.aligned_heap
               << ", operator new " << blocks.operator_new;
}

std::ostream& operator<<(std::ostream& out, const fault_plan& plan) {
    if (plan.first == 0) return out << "no failing allocation";
    out << "failing allocation " << plan.first;
    switch (plan.then) {
    case fault_plan::follow_up::none:
        return out << " alone";
    case fault_plan::follow_up::second:
        return out << " and " << plan.first + plan.distance;
    case fault_plan::follow_up::for_ever:
        return out << " and all later ones";
    }
    return out;
}

} // namespace test

void* operator new(std::size_t size) { return test::or_throw(test::plain_block(size)); }
void* operator new[](std::size_t size) { return test::or_throw(test::plain_block(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return test::plain_block(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return test::plain_block(size); }
void* operator new(std::size_t size, std::align_val_t to) {
    return test::or_throw(test::aligned_block(size, to));
}
void* operator new[](std::size_t size, std::align_val_t to) {
    return test::or_throw(test::aligned_block(size, to));
}
void* operator new(std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
    return test::aligned_block(size, to);
}
void* operator new[](std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
    return test::aligned_block(size, to);
}

void operator delete(void* block) noexcept { test::give_back(block); }
void operator delete[](void* block) noexcept { test::give_back(block); }
void operator delete(void* block, std::size_t) noexcept { test::give_back(block); }
void operator delete[](void* block, std::size_t) noexcept { test::give_back(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { test::give_back(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { test::give_back(block); }
void operator delete(void* block, std::align_val_t) noexcept { test::give_back(block); }
void operator delete[](void* block, std::align_val_t) noexcept { test::give_back(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { test::give_back(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { test::give_back(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    test::give_back(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    test::give_back(block);
}
