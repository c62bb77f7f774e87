// What the process knows about its memory: numbered switches of the memory manager and the size of physical memory.
#pragma once

#include <cstdint>

namespace foundation::core::mem {

namespace manager {

// The two switches that somebody asks for.
inline constexpr int feature_no_pooling = 4;    // nothing may be kept back from the heap for later use
inline constexpr int feature_scalable_pool = 7; // small blocks come from a pool that scales with threads

// Whether a feature is on. Feature 7 is on by default and all others are off; with sanitizers 7 is off too, so that
// they see every block. ND_MEMORY_FEATURES="4=0,7=1" in the environment overrides, read once. Numbers outside
// 0 to 63 are off.
bool get_feature(int number) noexcept;

} // namespace manager

// Physical memory of the machine in bytes; 0 where the system doesn't tell.
std::uint64_t get_total_random_access_memory() noexcept;

} // namespace foundation::core::mem
