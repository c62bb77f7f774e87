// The loops of ranges for the instruction set that the name of this file tells.
#include "indexing/colon_kernels.hpp"

namespace matrix::internal {

constinit const colon_kernels colon_kernels_avx512 = colon_kernels_of<avx512_colon_registers>;

} // namespace matrix::internal
