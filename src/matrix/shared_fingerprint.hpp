// In the torture build, blocks that are shared carry a fingerprint: whoever writes to one without unsharing it first is found out. It is
// taken when a block becomes shared, and compared when it is copied and when a sharer joins or leaves. A difference ends the process.
//
// Plain full elements only, of up to a million bytes. What stands in slots is arrays, which have fingerprints of their own; sparse arrays
// change their vectors one by one; and as long as a block has a separate view, what counts stands there.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

#ifdef ND_TORTURE

/// To be told before another header joins the array's record.
void note_joining(const ndArray_tag* array) noexcept;

/// To be told before the array's block is copied, or the array leaves its record. Asks nothing of a block that isn't shared.
void check_shared_block(const ndArray_tag* array) noexcept;

/// The block may change from now on, or the record ends.
void forget_fingerprint(const ::share_record* record) noexcept;

#else

inline void note_joining(const ndArray_tag* /*array*/) noexcept {}
inline void check_shared_block(const ndArray_tag* /*array*/) noexcept {}
inline void forget_fingerprint(const ::share_record* /*record*/) noexcept {}

#endif

} // namespace matrix::internal
