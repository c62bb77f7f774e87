// The limit on array sizes that the user has set, for the test before every allocation.
#pragma once

#include <cstdint>

namespace matrix::internal {

/// Bytes that one array may have; 0 for no limit. Read without a lock: another thread's change may show a moment later.
std::uint64_t array_size_limit() noexcept;

} // namespace matrix::internal
