// The loops of ranges for the instruction set that the name of this file tells.
#include "indexing/colon_kernels.hpp"

namespace matrix::internal {

constinit const colon_kernels colon_kernels_avx2 = colon_kernels_of<foundation::core::cpu::avx2_registers>;

} // namespace matrix::internal
