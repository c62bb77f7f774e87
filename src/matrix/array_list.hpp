// The list of temporaries of an engine: what exported creators returned and nobody has claimed yet. A stack of contexts;
// arrays still there when a context ends are orphans: reported if asked for, and destroyed whoever else claims them.
//
// One per engine, a member of its MatrixLibraryContext; no lock. An array stands on the list exactly while its scope is
// temporary: scope.hpp names the doors.
//
// Two log channels. "matrix::arraylist" reports how many orphans a context left. "matrix::arraylist_stacks" keeps, for each
// array added while it is on, where that happened, checks each removal against it, and reports every orphan with its origin.
#pragma once

#include "matrix/context_stack.hpp"

#include <foundation/core/diag/diag.hpp>
#include <foundation/log/logger.hpp>

#include <nd/array.hpp>
#include <nd/lists.hpp>

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace matrix::internal {

class ArrayList {
public:
    ArrayList();
    ArrayList(const ArrayList&) = delete;
    ArrayList& operator=(const ArrayList&) = delete;
    ~ArrayList();

    /// False when no context is open: the array isn't listed. Nor is it when std::bad_alloc is raised.
    bool add(ndArray_tag* array);
    void remove(ndArray_tag* array) noexcept;

    /// add() where it comes down to an append: false when there is more to do or it might fail, and nothing is done then.
    [[gnu::always_inline]] bool add_at_once(ndArray_tag* array) noexcept {
        if (!stack_.has_room() || stacks_are_on() || added_ + 1 == serial_to_break_on_) return false;
        stack_.append_in_room(array, ++added_);
        return true;
    }

    /// remove() where it comes down to a comparison with the newest entry.
    [[gnu::always_inline]] bool remove_at_once(ndArray_tag* array) noexcept {
        if (stacks_are_on() || !m_arrayDebug.empty()) return false;
        return stack_.remove_newest(array);
    }

    /// remove() where the array is the one made after the one that left last: arrays end in the order of their creation.
    [[gnu::always_inline]] bool remove_in_order(ndArray_tag* array) noexcept {
        if (stacks_are_on() || !m_arrayDebug.empty()) return false;
        return stack_.remove_behind_hint(array);
    }

    /// Raises std::bad_alloc.
    void push_context() { stack_.push(); }

    /// Closes the current context. Arrays of it that stand in keep move to the outer context, in order; the others are
    /// destroyed, last first, and reported unless quiet.
    void pop_context(std::span<ndArray_tag* const> keep, bool quiet) noexcept;
    void clear_context(bool quiet) noexcept;

    bool is_context_empty() const noexcept;
    std::size_t depth() const noexcept { return stack_.depth(); }

    /// The current context's arrays, or those of all contexts, oldest first. Raises std::bad_alloc.
    std::vector<listed_array> current_entries() const;
    std::vector<listed_array> all_entries() const { return entries_from(0); }

    /// Empty, or the rule that is broken, but for what the arrays themselves are like. Raises std::bad_alloc.
    std::string broken_rule() const;

private:
    struct array_entry {
        array_entry(ndArray_tag* array, std::uint64_t number) noexcept : pointer(array), serial(number) {}
        ndArray_tag* pointer;
        std::uint64_t serial; // how many arrays had been added before, plus one
    };
    struct debug_record {
        std::size_t context;
        bool has_stack;
        foundation::core::diag::stacktrace_base stack;
    };

    std::vector<listed_array> entries_from(std::size_t first) const;
    void clearContextImpl(bool quiet) noexcept;
    void report_orphans(std::size_t count) const noexcept;
    std::string count_report(std::size_t count) const;
    void report_each_orphan(std::size_t count) const;
    std::string header_line(std::size_t count) const;
    std::string origin_of(const ndArray_tag* orphan) const;
    void forget_debug_record(const ndArray_tag* array);
    void destroy_orphans() noexcept;
    void keep_in_outer_context(std::span<ndArray_tag* const> keep) noexcept;
    void record_context(std::size_t first, std::size_t end, std::size_t context) noexcept;
    void bring_back_context(std::size_t depth, std::size_t start) noexcept;
    void addArrayDebug(const ndArray_tag* array);
    void removeArrayDebug(const ndArray_tag* array);
    [[gnu::always_inline]] bool stacks_are_on() const noexcept { return stacks_channel_.is_on_at_all(); }

    context_stack<array_entry, 16> stack_;
    std::uint64_t added_ = 0;
    std::uint64_t serial_to_break_on_; // the add at which a debugger wants to stand; 0 for none
    std::unordered_map<const ndArray_tag*, debug_record> m_arrayDebug;
    foundation::log::basic_diagnostic_logger orphans_channel_;
    foundation::log::basic_diagnostic_logger stacks_channel_;
};

/// Puts the array on the current engine's list. False when no list is kept, and the array then isn't a temporary.
/// Raises std::bad_alloc.
bool add_to_array_list(ndArray_tag* array);

/// Takes a temporary off its list, which it reaches also while the engine closes. Without an open engine, and with the list gone,
/// ends the process when internal checks are on.
void leave_array_list(ndArray_tag* array);

} // namespace matrix::internal
