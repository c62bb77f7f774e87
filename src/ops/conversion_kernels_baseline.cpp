// The conversion loops for the instruction set that the name of this file tells.
#include "ops/conversion_kernels.hpp"

namespace matrix::internal {

constinit const conversion_kernels conversion_kernels_baseline = conversion_kernels_of<baseline_registers>;

} // namespace matrix::internal
