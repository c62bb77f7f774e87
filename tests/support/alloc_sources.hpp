// The three sources of memory that the library has, counted and made to fail.
//
//   header slots   headers and share records
//   aligned heap   data blocks
//   operator new   everything else: dimension blocks, strings, containers, per-engine records
//
// Every test program counts the blocks of all three that are alive, on all threads. Failures are injected on the thread
// that arms an injection and nowhere else. operator new is replaced globally, on top of malloc, so that sanitizers go on
// seeing each block.
#pragma once

#include <iosfwd>

namespace test {

struct live_blocks {
    long header_slots = 0;
    long aligned_heap = 0;
    long operator_new = 0;

    friend bool operator==(const live_blocks&, const live_blocks&) = default;
};
live_blocks operator-(const live_blocks& a, const live_blocks& b);
std::ostream& operator<<(std::ostream& out, const live_blocks& blocks);

/// Blocks alive now, relative to an arbitrary start: only differences say something.
live_blocks count_live_blocks() noexcept;

/// Puts the counting slots in place of the library's. Called once, by the test program's main.
void install_counting_allocators();

/// Which allocations fail. Points are counted from 1, over all three sources together.
struct fault_plan {
    enum class follow_up {
        none,     ///< the first failure is the only one
        second,   ///< one more, `distance` points later
        for_ever, ///< every later point fails too: memory is exhausted
    };
    long first = 0; ///< 0: nothing fails
    follow_up then = follow_up::none;
    long distance = 0;
};
std::ostream& operator<<(std::ostream& out, const fault_plan& plan);

/// Injects the plan's failures into the calling thread while it lives. Injections don't nest.
class injection {
public:
    explicit injection(const fault_plan& plan) noexcept;
    ~injection();
    injection(const injection&) = delete;
    injection& operator=(const injection&) = delete;

    long points() const noexcept { return points_; }     ///< allocations asked for so far
    long failures() const noexcept { return failures_; } ///< those that were refused

    /// Counts one allocation; false when it is to fail.
    bool admit() noexcept;

private:
    fault_plan plan_;
    long points_ = 0;
    long failures_ = 0;
};

} // namespace test
