// Switches of the memory manager and the size of memory.
#include "manager_state.hpp"

#include "platform/settings.hpp"

#include <foundation/core/mem/manager.hpp>

#include <unistd.h>

namespace foundation::core::mem {

namespace {

constexpr std::uint32_t feature_count = 64;

constexpr std::uint64_t bit(std::uint32_t number) noexcept { return std::uint64_t{1} << number; }

#if defined(ND_SANITIZED) || defined(ND_TORTURE)
constexpr std::uint64_t default_features = 0; // each block straight from the C heap, where the tools see it, and none kept
#else
constexpr std::uint64_t default_features = bit(manager::feature_scalable_pool);
#endif

} // namespace

std::uint64_t detail::initial_feature_bits() noexcept {
    std::uint64_t bits = default_features;
    for_each_setting("ND_MEMORY_FEATURES", [&](std::string_view name, std::uint32_t value) {
        const auto number = parse_setting_number(name);
        if (!number || *number >= feature_count) return;
        bits = value != 0 ? bits | bit(*number) : bits & ~bit(*number);
    });
    return bits;
}

std::atomic<std::uint64_t>& detail::feature_bits() noexcept {
    static std::atomic<std::uint64_t> bits{initial_feature_bits()};
    return bits;
}

bool manager::get_feature(int number) noexcept {
    if (number < 0 || static_cast<std::uint32_t>(number) >= feature_count) return false;
    return (detail::feature_bits().load(std::memory_order_relaxed) &
            bit(static_cast<std::uint32_t>(number))) != 0;
}

constinit std::atomic<std::uint64_t> detail::memory_size_override{0};

std::uint64_t get_total_random_access_memory() noexcept {
    if (const std::uint64_t bytes = detail::memory_size_override.load(std::memory_order_relaxed))
        return bytes;
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long page_size = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || page_size <= 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(page_size);
}

} // namespace foundation::core::mem
