// How the header allocator is chosen, and its two wrappers.
#include "matrix/header_allocator.hpp"

#include <foundation/core/mem/manager.hpp>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <oneapi/tbb/scalable_allocator.h>

namespace matrix::internal {
namespace {

constexpr int scalable_headers_feature = 7;

constexpr header_slots scalable_slots{scalable_malloc, scalable_calloc, scalable_free};
constexpr header_slots runtime_slots{std::malloc, std::calloc, std::free};

header_slots choose_slots() {
    const bool scalable = foundation::core::mem::manager::get_feature(scalable_headers_feature);
    if (std::getenv("TARVEL_MATRIX_DIAG") != nullptr) {
        std::fputs(scalable ? "ndArray TBB allocator.\n" : "ndArray SYSTEM allocator (nopooling).\n", stderr);
    }
    return scalable ? scalable_slots : runtime_slots;
}

// The slots until they are chosen: each chooses first and goes on with the choice.
void* choose_and_malloc(std::size_t size);
void* choose_and_calloc(std::size_t n, std::size_t size);
void choose_and_free(void* block);

} // namespace

constinit header_slots slots_in_force{choose_and_malloc, choose_and_calloc, choose_and_free};

namespace {

const header_slots& chosen_slots() {
    static const bool chosen = (slots_in_force = choose_slots(), true);
    static_cast<void>(chosen);
    return slots_in_force;
}

void* choose_and_malloc(std::size_t size) { return chosen_slots().malloc(size); }
void* choose_and_calloc(std::size_t n, std::size_t size) { return chosen_slots().calloc(n, size); }
void choose_and_free(void* block) { chosen_slots().free(block); }

// Makes the choice in the library's load, unless a constructor that ran earlier asked for it.
[[maybe_unused]] const header_slots& chosen_at_load = chosen_slots();

} // namespace

void* allocate_header_block(std::size_t size) {
    void* const block = slots_in_force.malloc(size);
    if (block == nullptr) throw std::bad_alloc{};
    return block;
}

void free_header_block(void* block) noexcept { slots_in_force.free(block); }

} // namespace matrix::internal
