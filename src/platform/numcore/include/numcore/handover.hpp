// Marks where work goes from one thread to another, for ThreadSanitizer: oneTBB as packaged isn't built for it, so the order
// that its scheduler establishes is unseen. Without ThreadSanitizer nothing happens.
#pragma once

#if defined(__SANITIZE_THREAD__)
#    define ND_HANDOVER_MARKS 1
#elif defined(__has_feature)
#    if __has_feature(thread_sanitizer)
#        define ND_HANDOVER_MARKS 1
#    endif
#endif

#ifdef ND_HANDOVER_MARKS
#    include <sanitizer/tsan_interface.h>
#endif

namespace numcore_util::detail {

inline char handover_mark; // stands for all tasks: what a task refers to can't be read before its mark

/// Everything before it is done when the scheduler passes the work on.
inline void work_goes_on() noexcept {
#ifdef ND_HANDOVER_MARKS
    __tsan_release(&handover_mark);
#endif
}

/// What comes after it begins when the scheduler has passed the work on.
inline void work_has_come() noexcept {
#ifdef ND_HANDOVER_MARKS
    __tsan_acquire(&handover_mark);
#endif
}

} // namespace numcore_util::detail
