/*
 * nd/memory.hpp: memory for addon functions, and the contexts that free what they forget.
 *
 * Blocks are aligned to 64 bytes and come from one heap, whichever function gave them; an array may adopt any of them
 * (ndSetData and its kin), which takes the block off the list.
 *
 * The list belongs to the current engine and exists once matrix::initModule(mode_in_engine) ran; without it the functions of
 * the first tier behave like those of the second but for the way they fail. Lists have no lock: one engine's lists are used
 * by one thread at a time. The functions with Ex may be called from any thread.
 *
 * A context's place on the list grows with the number of blocks that were made since its oldest living one, 8 bytes each: places
 * of freed blocks come back when the newest block goes, or with the context. Loops over queues of blocks want a context of
 * their own, or blocks of the second tier.
 */
#ifndef ND_MEMORY_HPP
#define ND_MEMORY_HPP

#include <nd/types.h>

#include <cstddef>

namespace matrix {

/// Opens a context on the alloc list. Returns its depth, counted with the base context, so 2 on a fresh list; 0 when no list
/// is kept. Raises std::bad_alloc.
ND_EXPORT int ndEnterNewAllocListContext();

/// Frees what is left in the current context and closes it. context is what the enter function returned; another number
/// ends the process when internal checks are on.
ND_EXPORT void ndRestorePreviousAllocListContext(int context);

/// The same two without the number.
ND_EXPORT void pushAllocListContext();
ND_EXPORT void popAllocListContext();

/// Frees what is left in the current context and keeps it open.
ND_EXPORT void clearAllocListContext();

/// True when no block stands in the current context, or no list is kept.
ND_EXPORT bool isAllocListContextEmpty();

namespace internal {

/// Takes a block off the current context's list without freeing it: somebody adopts it. A block that isn't there is left
/// alone.
ND_EXPORT void removeFromAllocList(void* p) noexcept;

} // namespace internal

namespace detail::noninlined::nd_array_api {

/// A block of size undefined bytes, on the list; null for 0. Out of memory: raises TARVEL:nomem (std::bad_alloc) in mode 1,
/// otherwise null.
ND_EXPORT void* ndMalloc(std::size_t size);
/// The same for n times size zeroed bytes; a product that overflows is out of memory.
ND_EXPORT void* ndCalloc(std::size_t n, std::size_t size);
/// Resizes a block: the result replaces p on the list. Null p: ndMalloc. Size 0: frees p and gives null. On failure p is
/// unchanged; where that doesn't raise, p also leaves the list. Not for a block of an outer context.
ND_EXPORT void* ndRealloc(void* p, std::size_t size);
/// Frees a block and takes it off the current context's list. Null is ignored. Not for a block of an outer context.
ND_EXPORT void ndFree(void* p);

/// Off the list; null when out of memory.
ND_EXPORT void* ndMallocEx(std::size_t size);
ND_EXPORT void* ndCallocEx(std::size_t n, std::size_t size);
ND_EXPORT void* ndReallocEx(void* p, std::size_t size);
ND_EXPORT void ndFreeEx(void* p);

/// Off the list; out of memory raises in mode 1, otherwise null.
ND_EXPORT void* ndMallocExCheck(std::size_t size);
ND_EXPORT void* ndCallocExCheck(std::size_t n, std::size_t size);
ND_EXPORT void* ndReallocExCheck(void* p, std::size_t size);

} // namespace detail::noninlined::nd_array_api
} // namespace matrix

#endif
