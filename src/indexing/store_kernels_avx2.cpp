// The loops of assignment for the instruction set that the name of this file tells.
#include "indexing/store_kernels.hpp"

namespace matrix::internal {

constinit const store_kernels store_kernels_avx2 = store_kernels_of<foundation::core::cpu::avx2_registers>;

} // namespace matrix::internal
