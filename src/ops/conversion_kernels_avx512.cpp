// The conversion loops for the instruction set that the name of this file tells.
#include "ops/conversion_kernels.hpp"

namespace matrix::internal {

constinit const conversion_kernels conversion_kernels_avx512 = conversion_kernels_of<avx512_registers>;

} // namespace matrix::internal
