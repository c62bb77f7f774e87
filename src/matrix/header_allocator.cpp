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

} // namespace

header_slots& mutable_header_slots() noexcept {
    static header_slots slots = choose_slots();
    return slots;
}

namespace {
// Makes the choice in the library's load, unless a constructor that ran earlier asked for it.
[[maybe_unused]] const header_slots& chosen_at_load = mutable_header_slots();
} // namespace

const header_slots& header_allocator() noexcept { return mutable_header_slots(); }

void* allocate_header_block(std::size_t size) {
    void* block = mutable_header_slots().malloc(size);
    if (block == nullptr) throw std::bad_alloc{};
    return block;
}

void free_header_block(void* block) noexcept { mutable_header_slots().free(block); }

} // namespace matrix::internal
