// Setters of the heap slots, memory-manager switches and memory size.
#include "manager_state.hpp"

#include "platform/test_hooks.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <stdexcept>
#include <utility>

namespace foundation::test_hooks {

core::mem::aligned_heap swap_aligned_heap(const core::mem::aligned_heap& replacement) noexcept {
    return std::exchange(core::mem::detail::heap_slots, replacement);
}

void set_memory_feature(int number, bool on) {
    if (number < 0 || number > 63) throw std::invalid_argument("memory features are numbered 0 to 63");
    const std::uint64_t bit = std::uint64_t{1} << number;
    if (on) {
        core::mem::detail::feature_bits() |= bit;
    } else {
        core::mem::detail::feature_bits() &= ~bit;
    }
}

void reset_memory_features() noexcept {
    core::mem::detail::feature_bits() = core::mem::detail::initial_feature_bits();
}

void set_total_random_access_memory(std::uint64_t bytes) noexcept {
    core::mem::detail::memory_size_override = bytes;
}

} // namespace foundation::test_hooks
