// Setters of the instruction set.
#include "chosen_set.hpp"

#include "platform/test_hooks.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

#include <stdexcept>

namespace foundation::test_hooks {

void set_instruction_set(core::cpu::instruction_set set) {
    if (!core::cpu::is_available(set))
        throw std::invalid_argument("the processor lacks this instruction set");
    core::cpu::detail::chosen_set() = static_cast<int>(set);
}

void reset_instruction_set() noexcept { core::cpu::detail::chosen_set() = core::cpu::detail::not_chosen; }

} // namespace foundation::test_hooks
