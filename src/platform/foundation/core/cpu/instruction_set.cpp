// The choice of the instruction set: made at the first question, kept for the process.
#include <foundation/core/cpu/instruction_set.hpp>

#include "chosen_set.hpp"

#include <cstdlib>
#include <string_view>

namespace foundation::core::cpu {
namespace {

constinit std::atomic<int> chosen{detail::not_chosen};

instruction_set best_available() noexcept {
    if (is_available(instruction_set::avx512)) return instruction_set::avx512;
    if (is_available(instruction_set::avx2)) return instruction_set::avx2;
    return instruction_set::baseline;
}

// The best, or what the environment asks for if that is less. A name that isn't known is passed over.
instruction_set choose() noexcept {
    const instruction_set best = best_available();
    const char* const wish = std::getenv("ND_KERNELS");
    if (wish == nullptr) return best;
    for (std::size_t set = 0; set < static_cast<std::size_t>(best); ++set) {
        if (std::string_view(wish) == instruction_set_names[set]) return static_cast<instruction_set>(set);
    }
    return best;
}

} // namespace

std::atomic<int>& detail::chosen_set() noexcept { return chosen; }

bool is_available([[maybe_unused]] instruction_set set) noexcept {
#if defined(__x86_64__)
    switch (set) {
    case instruction_set::baseline:
        return true;
    case instruction_set::avx2:
        return __builtin_cpu_supports("avx2");
    case instruction_set::avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    }
    return false;
#else
    return set == instruction_set::baseline;
#endif
}

// Two threads that ask first at the same time choose alike.
instruction_set instruction_set_in_use() noexcept {
    int set = chosen.load(std::memory_order_relaxed);
    if (set == detail::not_chosen) [[unlikely]] {
        set = static_cast<int>(choose());
        chosen.store(set, std::memory_order_relaxed);
    }
    return static_cast<instruction_set>(set);
}

} // namespace foundation::core::cpu
