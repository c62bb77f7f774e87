// The choice among the loops of assignment.
#include "indexing/store_loops.hpp"

#include <foundation/core/cpu/instruction_set.hpp>

namespace matrix::internal {

const store_kernels& store_kernels_in_use() noexcept {
    static constexpr foundation::core::cpu::kernel_family<store_kernels> family{
        {&store_kernels_baseline, &store_kernels_avx2, &store_kernels_avx512}};
    return family.get();
}

} // namespace matrix::internal
