// The limit on array sizes that the user has set, for the test before every allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace matrix::internal {

/// Bytes that one array may have; 0 for no limit. Read without a lock: another thread's change may show a moment later.
std::uint64_t array_size_limit() noexcept;

/// Dimensions joined by "x"; a single one reads as a column.
template <class Size>
std::string dimension_text(std::span<const Size> dims) {
    std::string text;
    for (const Size dim : dims) {
        if (!text.empty()) text += 'x';
        text += std::to_string(dim);
    }
    if (dims.size() == 1) text += "x1";
    return text;
}

/// Raises SizeLimitExceeded with the dimensions, the bytes requested and the limit.
[[noreturn]] void raise_size_limit_exceeded(std::span<const std::size_t> dims, std::size_t bytes,
                                            std::size_t limit);

/// The same with the dimensions in words, for sizes that std::size_t doesn't hold.
[[noreturn]] void raise_size_limit_exceeded(std::string dimensions, std::size_t bytes, std::size_t limit);

} // namespace matrix::internal
