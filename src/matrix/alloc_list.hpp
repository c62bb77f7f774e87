// The list of blocks that the current engine's addon functions allocated and haven't freed: a stack of contexts. When a
// context ends, what is left in it is freed.
//
// One per engine, a member of its MatrixLibraryContext; no lock, since an engine's lists are used by one thread at a time.
#pragma once

#include "matrix/context_stack.hpp"

#include <nd/memory.hpp>

#include <string>
#include <vector>

namespace matrix::internal {

class AllocList {
public:
    AllocList() = default;
    AllocList(const AllocList&) = delete;
    AllocList& operator=(const AllocList&) = delete;
    ~AllocList();

    /// Raises std::bad_alloc; the block is then not listed.
    void add(void* block);

    /// Takes a block of the current context off the list. Blocks of outer contexts and unlisted ones are left alone.
    void remove(void* block) noexcept;

    /// add() where it comes down to an append: false when it doesn't, and nothing is done then. No context, no room.
    [[gnu::always_inline]] bool add_at_once(void* block) noexcept {
        if (!stack_.has_room()) return false;
        stack_.append_in_room(block);
        return true;
    }

    /// remove() of the newest block, or of the one behind the block that left last.
    [[gnu::always_inline]] bool remove_at_once(void* block) noexcept {
        return stack_.remove_newest(block) || stack_.remove_behind_hint(block);
    }

    /// Room for one more block, so that the next add can't fail. Raises std::bad_alloc.
    void reserve_one() { stack_.reserve_one(); }

    /// Raises std::bad_alloc.
    void push_context() { stack_.push(); }

    /// Frees what is left in the current context and closes it.
    void pop_context() noexcept;

    /// Frees what is left in the current context.
    void clear_context() noexcept;

    bool is_context_empty() const noexcept;

    /// Number of open contexts, the base context counted.
    std::size_t depth() const noexcept { return stack_.depth(); }

    /// The blocks of all contexts, oldest first. Raises std::bad_alloc.
    std::vector<void*> all_entries() const;

    /// Empty, or the rule that is broken. Raises std::bad_alloc.
    std::string broken_rule() const;

private:
    struct block_entry {
        explicit block_entry(void* block) noexcept : pointer(block) {}
        void* pointer;
    };
    context_stack<block_entry, 3> stack_;
};

/// Puts a block on the current engine's list; nothing happens when no list is kept. Raises std::bad_alloc.
void add_to_alloc_list(void* block);

/// Room for one more block on the current engine's list, so that the next add can't fail. Raises std::bad_alloc.
void reserve_on_alloc_list();

} // namespace matrix::internal
