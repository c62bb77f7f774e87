/*
 * One call of an addon function, in brackets: an own context on the lists of the engine that is current, so that what the
 * function makes and doesn't put out ends with the call. The contexts of calls within calls stand on one another.
 *
 *   1. the brackets open       a context on the array list and on the alloc list
 *   2. the function runs       inputs are held; errors go on to the caller, and the brackets then close without a word
 *   3. contexts are put right  those that it left open are closed, and what stands in them moves to the call's (list_contexts.hpp)
 *   4. outputs are taken       owned from here on, and kept when the brackets close (outputs.hpp)
 *   5. the observer is told    what stands in the context beside the outputs: it was forgotten
 *   6. the brackets close      what was forgotten is destroyed and freed; no log channel ends the process for it
 *   7. outputs are checked     last, so that an array that should have been an output is told as forgotten, too
 */
#ifndef ND_TOOLS_ADDON_CALL_HPP
#define ND_TOOLS_ADDON_CALL_HPP

#include "addon.hpp"

#include <nd/engine.hpp>

#include <functional>
#include <string>
#include <vector>

namespace nd_host {

/// What a function left behind, told while it is still there.
struct forgotten {
    std::string function;                     ///< its addon, and its name when that isn't the usual one
    std::vector<matrix::listed_array> arrays; ///< oldest first; they end when the observer returns
    bool blocks;                              ///< whether there is memory of ndMalloc and its kin
    int array_contexts;                       ///< how many contexts of the array list were left open
    int block_contexts;                       ///< how many of the alloc list
};

/// Told at the end of every call that wasn't ended by an error, also when nothing was forgotten. Empty for nobody.
using forgotten_observer = std::function<void(const forgotten&)>;

/// Calls function. Gives back nlhs outputs, none of them null; for nlhs 0 one if the function made it, since the first slot may
/// always be filled. They are temporaries of the context that was current before, or stand on no list.
/// Raises what the function throws; failure(broken_outputs); and what the observer, which calls within this call have too,
/// raises. Then all that the function put out is gone, but for arrays on no list that it put out before it raised an error: whether
/// such a slot holds an array that is alive nobody knows.
std::vector<matrix::array_ptr> call_addon(const addon& function, int nlhs,
                                          const std::vector<const ndArray_tag*>& inputs,
                                          const forgotten_observer& observer);

} // namespace nd_host

#endif
