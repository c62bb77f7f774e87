// From UTF-8 to UTF-16, for text that may be damaged: a message that was cut inside a character must still be shown.
#pragma once

#include <string>
#include <string_view>

/// The text in UTF-16. Bytes that aren't UTF-8 become U+FFFD. Raises std::bad_alloc, and std::length_error for text of 2 GiB
/// or more.
std::u16string baseUtf8ToUtf16(std::string_view text);
