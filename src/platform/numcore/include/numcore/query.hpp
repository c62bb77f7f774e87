// Questions to long ranges: does any element, or any pair of elements of two ranges, satisfy a predicate?
//
// Cases in the order in which they are tried:
//   empty range                        false
//   length below the serial limit      a loop on the calling thread; no task machinery is touched
//   the first element is a hit         true; a difference at the front doesn't pay for setting up tasks
//   otherwise                          chunks of the grain, on as many threads as the task scheduler has free
//
// The serial limit is threshold, or the grain when threshold is 0. The grain is in elements, or 16 KiB of the (left) range when it
// is 0. The serial loop stops at the first hit. A chunk is asked to its end; where it has a hit it cancels the group: chunks that
// haven't begun are skipped, and the answer is whether the group was cancelled. So no thread writes anything but that.
//
// The predicate is called on several threads at the same time and may be called for elements after a hit. It reads, and must not
// throw. Both ranges stay as they are meanwhile. May raise std::bad_alloc, when the task scheduler can't go on.
#pragma once

#include <numcore/handover.hpp>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <cstddef>

namespace numcore_util {
namespace perf_options {

/// Selects the variant in which finding an answer cancels the group.
template <int>
struct check_for_cancellation {};

} // namespace perf_options

/// The predicate of query_binary unless another one is given: a NaN differs from everything.
struct differ {
    template <class T, class U>
    bool operator()(const T& left, const U& right) const noexcept {
        return !(left == right);
    }
};

namespace detail {

inline constexpr std::size_t chunk_bytes = 16384;

template <class Hit>
bool first_hit_ends(std::size_t begin, std::size_t end, const Hit& hit) noexcept {
    for (; end - begin >= 4; begin += 4) {
        if (hit(begin) || hit(begin + 1) || hit(begin + 2) || hit(begin + 3)) return true;
    }
    for (; begin != end; ++begin) {
        if (hit(begin)) return true;
    }
    return false;
}

// Without a way out the compiler can use vectors.
template <class Hit>
bool any_hit_in_chunk(std::size_t begin, std::size_t end, const Hit& hit) noexcept {
    const auto asked = [&](std::size_t i) -> unsigned { return hit(i) ? 1 : 0; };
    unsigned found = 0;
    for (; end - begin >= 4; begin += 4)
        found |= asked(begin) | asked(begin + 1) | asked(begin + 2) | asked(begin + 3);
    for (; begin != end; ++begin) found |= asked(begin);
    return found != 0;
}

// hit(i) tells whether element i answers the question.
template <class Hit>
bool any_hit_in_parallel(std::size_t length, std::size_t grain, const Hit& hit) {
    using tbb::task_group_context;
    // Isolated: a cancelled group of the caller's must not read as an answer.
    task_group_context group(task_group_context::isolated);
    work_goes_on();
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, length, grain),
        [&](const tbb::blocked_range<std::size_t>& chunk) {
            work_has_come();
            if (any_hit_in_chunk(chunk.begin(), chunk.end(), hit)) group.cancel_group_execution();
            work_goes_on();
        },
        tbb::auto_partitioner(), group);
    work_has_come();
    return group.is_group_execution_cancelled();
}

template <class Hit>
bool ask(std::size_t length, std::size_t element_size, std::size_t grain, std::size_t threshold,
         const Hit& hit) {
    if (grain == 0) grain = std::max<std::size_t>(chunk_bytes / element_size, 1);
    if (length < (threshold != 0 ? threshold : grain)) return first_hit_ends(0, length, hit);
    return hit(std::size_t{0}) || any_hit_in_parallel(length, grain, hit);
}

} // namespace detail

/// Whether predicate(element) holds for any element from first up to last. flag selects nothing and is 0.
template <class T, class Predicate>
bool query(const T* first, const T* last, Predicate predicate, bool /*flag*/, std::size_t grain,
           std::size_t threshold, perf_options::check_for_cancellation<0> /*perf*/) {
    if (last <= first) return false;
    return detail::ask(static_cast<std::size_t>(last - first), sizeof(T), grain, threshold,
                       [=](std::size_t i) noexcept -> bool { return predicate(first[i]); });
}

/// Whether predicate(left, right) holds for any pair of elements of the ranges from first up to last and from other on.
template <class T, class U, class Predicate = differ>
bool query_binary(const T* first, const T* last, const U* other, bool /*flag*/, std::size_t grain,
                  std::size_t threshold, perf_options::check_for_cancellation<0> /*perf*/,
                  Predicate predicate = {}) {
    if (last <= first) return false;
    return detail::ask(static_cast<std::size_t>(last - first), sizeof(T), grain, threshold,
                       [=](std::size_t i) noexcept -> bool { return predicate(first[i], other[i]); });
}

} // namespace numcore_util
