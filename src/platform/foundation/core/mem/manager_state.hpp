// What the memory manager keeps, for manager.cpp and its test hooks.
#pragma once

#include <atomic>
#include <cstdint>

namespace foundation::core::mem::detail {

// One bit a feature.
std::atomic<std::uint64_t>& feature_bits() noexcept;

// The bits that the defaults and the environment give.
std::uint64_t initial_feature_bits() noexcept;

// Tells the size of memory in place of the system; 0 for the system's own. Written by test hooks only.
extern std::atomic<std::uint64_t> memory_size_override;

} // namespace foundation::core::mem::detail
