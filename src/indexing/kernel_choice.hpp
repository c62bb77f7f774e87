// Which loops turn subscripts into positions, and which copy what they select: those of the best instruction set that may be used.
#pragma once

#include "indexing/reference_kernels.hpp"
#include "indexing/subscript_kernels.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

namespace matrix::internal {

inline const subscript_kernels& subscript_loops_here() noexcept {
    static constexpr foundation::core::cpu::kernel_family<subscript_kernels> family{
        {&subscript_kernels_baseline, &subscript_kernels_avx2, &subscript_kernels_avx512}};
    return family.get();
}

inline const reference_kernels& reference_loops_here() noexcept {
    static constexpr foundation::core::cpu::kernel_family<reference_kernels> family{
        {&reference_kernels_baseline, &reference_kernels_avx2, &reference_kernels_avx512}};
    return family.get();
}

} // namespace matrix::internal
