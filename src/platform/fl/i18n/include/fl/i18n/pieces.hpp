// How much text goes to ICU at once: it counts in 32 bits, and takes more than this, but not any size.
#pragma once

#include <cstddef>

namespace fl::i18n {

/// Units, and bytes, of a piece. At least 2, so that a pair of surrogates fits. Written by test hooks only.
inline constexpr std::size_t usual_largest_piece = std::size_t{1} << 28;
inline constinit std::size_t largest_piece = usual_largest_piece;

} // namespace fl::i18n
