// The loops of subscripted reference for the instruction set that the name of this file tells.
#include "indexing/reference_kernels.hpp"

namespace matrix::internal {

constinit const reference_kernels reference_kernels_avx2 =
    reference_kernels_of<foundation::core::cpu::avx2_registers>;

} // namespace matrix::internal
