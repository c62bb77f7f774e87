/*
 * The contexts of both lists around a function that is called: what it leaves open is closed behind it, and what it closed without
 * having opened it is opened again, so that those who are called find the lists as deep as those who call left them.
 */
#ifndef ND_TOOLS_LIST_CONTEXTS_HPP
#define ND_TOOLS_LIST_CONTEXTS_HPP

#include <nd/engine.hpp>

#include <vector>

namespace nd_host {

/// What a function did to the contexts of its caller's lists.
struct context_changes {
    int arrays = 0;     ///< contexts of the array list that it left open, or, below 0, closed too many
    int blocks = 0;     ///< the same for the alloc list
    bool freed = false; ///< whether blocks stood in contexts that were left open
};

/// The depths of both lists. Without lists all of this does nothing.
class list_contexts {
public:
    /// Notes how deep the lists of the current engine are. Raises std::bad_alloc.
    list_contexts();

    /// Makes them as deep again. Arrays of contexts that were left open move to the innermost one of before; where there is no
    /// memory for that, those among slots do, and the others are gone. Blocks of such contexts are freed.
    context_changes bring_back(std::vector<ndArray_tag*>& slots) const noexcept;

private:
    int arrays_;
    int blocks_;
};

} // namespace nd_host

#endif
