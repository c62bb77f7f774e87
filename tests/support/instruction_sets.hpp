// Bodies under each instruction set that the processor has.
#pragma once

#include "platform/test_hooks.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

#include <gtest/gtest.h>

#include <utility>

namespace test {

class instruction_set_scope {
public:
    explicit instruction_set_scope(foundation::core::cpu::instruction_set set) {
        foundation::test_hooks::set_instruction_set(set);
    }
    ~instruction_set_scope() { foundation::test_hooks::reset_instruction_set(); }
    instruction_set_scope(const instruction_set_scope&) = delete;
    instruction_set_scope& operator=(const instruction_set_scope&) = delete;
};

/// Calls body() with each set in use; the set's name stands in every failure.
template <class Body>
void for_each_instruction_set(Body&& body) {
    namespace cpu = foundation::core::cpu;
    for (std::size_t i = 0; i < cpu::instruction_set_count; ++i) {
        const auto set = static_cast<cpu::instruction_set>(i);
        if (!cpu::is_available(set)) continue;
        SCOPED_TRACE(cpu::instruction_set_names[i]);
        const instruction_set_scope in_use(set);
        body();
    }
}

} // namespace test
