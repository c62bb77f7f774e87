// The loops of UTF-8 for the instruction set that the name of this file tells.
#include "platform/fl/i18n/utf8_kernels.hpp"

namespace fl::i18n::detail {

constinit const utf8_kernels utf8_kernels_baseline =
    utf8_kernels_of<foundation::core::cpu::baseline_registers>;

} // namespace fl::i18n::detail
