// The moment between the copy of shared data and the leaving of their record, where another thread may leave first. Tests
// stop there to play the other thread.
#pragma once

#include <atomic>

namespace matrix::internal {

/// Called at that moment; null in the library as it is used.
extern std::atomic<void (*)()> between_copy_and_leave;

inline void reach_seam() {
    if (auto* const seam = between_copy_and_leave.load(std::memory_order_relaxed)) seam();
}

} // namespace matrix::internal
