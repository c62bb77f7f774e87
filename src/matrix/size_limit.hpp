// The limit on array sizes that the user has set, for the test before every allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace matrix::internal {

/// Bytes that one array may have; 0 for no limit. Read without a lock: another thread's change may show a moment later.
std::uint64_t array_size_limit() noexcept;

/// Raises SizeLimitExceeded with the dimensions, the bytes requested and the limit.
[[noreturn]] void raise_size_limit_exceeded(std::span<const std::size_t> dims, std::size_t bytes,
                                            std::size_t limit);

} // namespace matrix::internal
