/*
 * nd/lists.hpp: the array lists, and the guard around external code.
 *
 * What an exported creator returns is a temporary: it stands on the current context of the engine's array list until it is
 * destroyed, stored in a container or claimed by a change of its scope. What is left when the context ends is destroyed.
 *
 * All of this does nothing (and returns 0, or true for the test) until matrix::initModule(mode_in_engine) ran, and where no
 * engine is active; of the guard the error mode is left there, the process's. Lists have no lock: one engine's
 * lists are used by one thread at a time.
 *
 * Deleters and hooks of the arrays that a context destroys may use the list meanwhile. What they put on it goes with the context,
 * and contexts that they leave open, or close without having opened them, are closed and opened again. A deleter that makes a
 * temporary with the same deleter each time it runs never lets the context end.
 */
#ifndef ND_LISTS_HPP
#define ND_LISTS_HPP

#include <nd/create.hpp>
#include <nd/module.hpp>

#include <boost/container/small_vector.hpp>
#include <boost/range/iterator_range.hpp>

#include <cstdint>
#include <vector>

namespace matrix {

/// Opens a context on the array list. Returns its depth, counted with the base context, so 2 on a fresh list.
/// Raises std::bad_alloc.
ND_EXPORT int ndEnterNewArrayListContext();

/// Closes the current context. context is what the enter function returned; another number ends the process when internal
/// checks are on. The arrays among keep (keep_count of them, nulls allowed) move to the outer context; the others are
/// destroyed, and reported to the log channels unless quiet.
ND_EXPORT void ndExitArrayListContext(int context, ndArray_tag** keep, int keep_count, bool quiet);

/// The same two without the number.
ND_EXPORT void pushArrayListContext();
ND_EXPORT void popArrayListContext(boost::iterator_range<ndArray_tag**> keep, bool quiet);

/// Destroys the current context's arrays and keeps it open.
ND_EXPORT void clearArrayListContext(bool quiet);

/// True when no array stands in the current context, or no list is kept.
ND_EXPORT bool isArrayListContextEmpty();

/// An array on the list, and its serial: the count of adds to this engine's list, its own included. With the environment
/// variable ND_BREAK_ON_SERIAL=n the n-th add raises SIGTRAP, so that a debugger stands where the array was made.
struct listed_array {
    const ndArray_tag* array;
    std::uint64_t serial;
};

/// The arrays of the current context, oldest first. Raises std::bad_alloc.
ND_EXPORT std::vector<listed_array> listCurrentArrays();

/// While it lives, a report about arrays that a context left doesn't end the process on this thread where its channel is on at
/// fatal severity: the report is written, and the code goes on as after a less severe one. For hosts that outlive the code they
/// call.
class list_reports_go_on {
public:
    ND_EXPORT list_reports_go_on() noexcept;
    ND_EXPORT ~list_reports_go_on();
    list_reports_go_on(const list_reports_go_on&) = delete;
    list_reports_go_on& operator=(const list_reports_go_on&) = delete;
};

/// A scope around external code: its own context on both lists and its own error mode. At the end the error mode is put back,
/// arrays that were not kept are destroyed (quietly when an exception is in flight), and blocks are freed. Does nothing at
/// all unless both lists are on; without an engine it swaps the process's error mode alone.
class arraylist_alloclist_errormode_guard {
public:
    /// Raises std::bad_alloc; nothing has changed then.
    ND_EXPORT explicit arraylist_alloclist_errormode_guard(ErrorMode mode);
    ND_EXPORT ~arraylist_alloclist_errormode_guard();
    arraylist_alloclist_errormode_guard(const arraylist_alloclist_errormode_guard&) = delete;
    arraylist_alloclist_errormode_guard& operator=(const arraylist_alloclist_errormode_guard&) = delete;

    /// Lets array survive the scope's end, as a temporary of the outer context. Null is ignored. Raises std::bad_alloc.
    void keep(ndArray_tag* array) { kept_.push_back(array); }

private:
    ErrorMode saved_mode_;
    boost::container::small_vector<ndArray_tag*, 3> kept_;
    bool active_;
};

} // namespace matrix

#endif
