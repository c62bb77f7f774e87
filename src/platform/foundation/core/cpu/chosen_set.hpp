// Where the chosen instruction set stands.
#pragma once

#include <atomic>

namespace foundation::core::cpu::detail {

inline constexpr int not_chosen = -1;

// An instruction_set, or not_chosen until somebody asks.
std::atomic<int>& chosen_set() noexcept;

} // namespace foundation::core::cpu::detail
