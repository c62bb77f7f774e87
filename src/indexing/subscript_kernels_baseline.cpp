// The loops of subscripts for the instruction set that the name of this file tells.
#include "indexing/subscript_kernels.hpp"

namespace matrix::internal {

constinit const subscript_kernels subscript_kernels_baseline =
    subscript_kernels_of<foundation::core::cpu::baseline_registers>;

} // namespace matrix::internal
