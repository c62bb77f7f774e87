// Blocks for text that C code reads, and the text that goes into them.
#pragma once

#include "errors/raise.hpp"
#include "matrix/text_view.hpp"

#include <nd/text.hpp>

#include <algorithm>

namespace matrix::internal {

/// Raises SizeLimitExceeded for an array of 2^31 elements or more: C strings aren't made of those.
void check_text_count(const ndArray_tag* array);

/// A block for count units and a NUL, which is set. Raises TARVEL:nomem when the allocator gives none.
template <class Unit>
Unit* block_for_text(std::size_t count, text_allocator allocate) {
    auto* const block = static_cast<Unit*>(allocate((count + 1) * sizeof(Unit)));
    if (block == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
    block[count] = 0;
    return block;
}

/// A block with the units, and a NUL behind them.
inline char16_t* block_of(std::u16string_view text, text_allocator allocate) {
    auto* const block = block_for_text<char16_t>(text.size(), allocate);
    std::copy(text.begin(), text.end(), block);
    return block;
}

/// A block with the text in an encoding, null for the system's, and a NUL behind it. Raises TARVEL:invalidInput when there is
/// no such encoding.
char* block_of(std::u16string_view text, const char* encoding, text_allocator allocate);

} // namespace matrix::internal
