// The loops of assignment for the instruction set that the name of this file tells.
#include "indexing/store_kernels.hpp"

namespace matrix::internal {

constinit const store_kernels store_kernels_baseline =
    store_kernels_of<foundation::core::cpu::baseline_registers>;

} // namespace matrix::internal
