// Char arrays from text.
#pragma once

#include <nd/create.hpp>

#include <string_view>

namespace matrix::internal {

/// Bytes that text in an encoding may have: ICU counts their units in 32 bits.
inline constexpr std::size_t longest_encoded_text = 0x3fffffff;

/// A new char row that holds the code units of text; 0x0 for the empty text. Raises what creators raise.
array_ptr create_string(std::u16string_view text);

/// The same from bytes in an encoding: one that ICU knows, one of the names of text_policy.hpp, or null for the system's.
/// Raises TARVEL:pmaxsize for more than longest_encoded_text bytes, TARVEL:invalidInput when there is no such encoding, and what
/// creators raise. What doesn't convert is substituted.
array_ptr create_string(std::string_view text, const char* encoding);

/// Raises TARVEL:pmaxsize for more than longest_encoded_text bytes.
void check_text_size(std::size_t bytes);

} // namespace matrix::internal
