// The list of blocks that the current engine's addon functions allocated.
#pragma once

namespace matrix::internal {

/// Takes a block off the list without freeing it: an array adopts it. A block that isn't listed is left alone.
void removeFromAllocList(void* block) noexcept;

} // namespace matrix::internal
