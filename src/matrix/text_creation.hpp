// Char arrays from text that is UTF-16 already.
#pragma once

#include <nd/create.hpp>

#include <string_view>

namespace matrix::internal {

/// A new char row that holds the code units of text; 0x0 for the empty text. Raises what creators raise.
array_ptr create_string(std::u16string_view text);

} // namespace matrix::internal
