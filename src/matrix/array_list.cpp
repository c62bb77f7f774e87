// The array list of an engine: adding, removing, closing contexts.
#include "matrix/array_list.hpp"

#include "matrix/destroy.hpp"

#include <nd/create.hpp>

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>

namespace matrix::internal {
namespace {

using foundation::core::diag::check;

std::uint64_t serial_from_environment() noexcept {
    const char* const text = std::getenv("ND_BREAK_ON_SERIAL");
    return text == nullptr ? 0 : std::strtoull(text, nullptr, 10);
}

// What the caller keeps, sorted once; without memory for that it is searched as it stands.
class kept_arrays {
public:
    explicit kept_arrays(std::span<ndArray_tag* const> keep) noexcept : given_(keep) {
        try {
            sorted_.assign(keep.begin(), keep.end());
            std::sort(sorted_.begin(), sorted_.end(), std::less<>());
        } catch (const std::bad_alloc&) {
            sorted_.clear();
        }
    }

    bool contain(ndArray_tag* array) const noexcept {
        if (array == nullptr) return false;
        if (sorted_.empty()) return std::find(given_.begin(), given_.end(), array) != given_.end();
        return std::binary_search(sorted_.begin(), sorted_.end(), array, std::less<>());
    }

private:
    std::span<ndArray_tag* const> given_;
    boost::container::small_vector<ndArray_tag*, 16> sorted_;
};

} // namespace

ArrayList::ArrayList()
    : serial_to_break_on_(serial_from_environment()),
      orphans_channel_("matrix::arraylist"),
      stacks_channel_("matrix::arraylist_stacks") {}

ArrayList::~ArrayList() {
    const bool quiet = std::uncaught_exceptions() > 0;
    while (stack_.has_context()) pop_context({}, quiet);
    check(stack_.size() == 0, "m_data.empty()");
    check(!stack_.has_context(), "m_contexts.empty()");
    check(m_arrayDebug.empty(), "m_arrayDebug.empty()");
}

bool ArrayList::add(ndArray_tag* array) {
    check(stack_.has_context(), "m_hasCurrentContext");
    if (!stack_.has_context()) return false;
    stack_.reserve_one();
    if (stacks_are_on()) addArrayDebug(array);
    stack_.append(array, ++added_);
    if (added_ == serial_to_break_on_) std::raise(SIGTRAP);
    return true;
}

void ArrayList::remove(ndArray_tag* array) noexcept {
    forget_debug_record(array);
    if (stack_.remove_newest(array) || stack_.remove_newest_below_contexts(array)) return;
    if (stack_.has_hint()) {
        if (const std::size_t found = stack_.find_from_hint(array); found != stack_.not_found)
            stack_.make_hole(found);
        return;
    }
    // An array that isn't in the current context costs the outer context its last entry; only the records of the stack channel
    // catch that. At the bottom of the list there is no such entry.
    std::size_t found = stack_.find_backwards(array);
    if (found == stack_.not_found) found = stack_.start() - 1;
    if (found != stack_.not_found) stack_.make_hole(found);
}

// Records stay consistent when the channel is turned off in between: an array that leaves takes its record along.
void ArrayList::forget_debug_record(const ndArray_tag* array) {
    if (stacks_are_on()) {
        removeArrayDebug(array);
    } else if (!m_arrayDebug.empty()) {
        m_arrayDebug.erase(array);
    }
}

// The kept arrays go to the front of the context, which then begins behind them: they have moved without being copied. With no
// outer context to take them they stay in the list below every context, so that nothing destroys what the caller keeps.
void ArrayList::keep_in_outer_context(std::span<ndArray_tag* const> keep) noexcept {
    check(stack_.depth() >= 2, "No prior array list context into which to fold ndArrays");
    const kept_arrays kept(keep);
    const std::size_t old_start = stack_.start();
    stack_.give_to_outer([&](const array_entry& entry) noexcept { return kept.contain(entry.pointer); });
    record_context(old_start, stack_.start(), stack_.depth() - 1);
}

// Entries that have moved to another context take their records along.
void ArrayList::record_context(std::size_t first, std::size_t end, std::size_t context) noexcept {
    if (m_arrayDebug.empty()) return;
    for (std::size_t i = first; i < end; ++i) {
        if (const auto record = m_arrayDebug.find(stack_[i].pointer); record != m_arrayDebug.end()) {
            record->second.context = context;
        }
    }
}

void ArrayList::bring_back_context(std::size_t depth, std::size_t start) noexcept {
    if (stack_.depth() == depth) return;
    stack_.bring_back_depth(depth, start);
    record_context(stack_.start(), stack_.size(), depth);
}

void ArrayList::pop_context(std::span<ndArray_tag* const> keep, bool quiet) noexcept {
    check(stack_.has_context(), "m_hasCurrentContext");
    if (!stack_.has_context()) return;
    if (!keep.empty()) keep_in_outer_context(keep);
    clearContextImpl(quiet);
    stack_.pop();
}

void ArrayList::clear_context(bool quiet) noexcept {
    check(stack_.has_context(), "m_hasCurrentContext");
    if (!stack_.has_context()) return;
    clearContextImpl(quiet);
}

bool ArrayList::is_context_empty() const noexcept {
    check(stack_.has_context(), "m_hasCurrentContext");
    return !stack_.has_context() || stack_.count_current() == 0;
}

std::vector<listed_array> ArrayList::current_entries() const {
    return entries_from(stack_.has_context() ? stack_.start() : stack_.size());
}

std::vector<listed_array> ArrayList::entries_from(std::size_t first) const {
    std::vector<listed_array> entries;
    for (std::size_t i = first; i < stack_.size(); ++i) {
        if (stack_[i].pointer != nullptr) entries.push_back({stack_[i].pointer, stack_[i].serial});
    }
    return entries;
}

void ArrayList::clearContextImpl(bool quiet) noexcept {
    const std::size_t count = stack_.count_current();
    if (count != 0 && !quiet) report_orphans(count);
    destroy_orphans();
}

// Destroying an orphan can call back into the list: deleters and hooks may destroy other temporaries, or make some, which then
// go too, for as long as there are any. So the list is looked at anew each time, and an array has left it before it dies.
// Contexts that one leaves open are closed, and those that it closed without having opened them are opened again, before the next
// dies.
void ArrayList::destroy_orphans() noexcept {
    const std::size_t depth = stack_.depth();
    const std::size_t start = stack_.start();
    while (stack_.size() > stack_.start()) {
        ndArray_tag* const orphan = stack_.take_last();
        if (orphan == nullptr) continue;
        forget_debug_record(orphan);
        orphan->scope = ndLOCAL_SCOPE;
        orphan->flags &= ~flag_reusable;
        orphan->ref_count = 1;
        orphan->internal_ref_count = 0;
        destroyArray(orphan);
        bring_back_context(depth, start);
    }
    stack_.drop_hint();
}

} // namespace matrix::internal
