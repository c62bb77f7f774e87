// A stack of contexts over one list of pointers: what the alloc list and the array list have in common.
//
// All contexts lie behind one another in m_data, oldest first; m_contexts holds where each begins, the last one is current.
// Taking an entry out of the middle leaves a null hole; taking the last one out shortens the list past the holes before it.
//
// Entries mostly leave in reverse order, or near the one that left last: the newest costs one comparison, and a hint makes a
// run of neighbours linear overall. The hint changes how long a search takes, never what it finds.
#pragma once

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <cstddef>

namespace matrix::internal {

/// Entry: a struct with a member pointer that is null in a hole.
template <class Entry, std::size_t InlineEntries>
class context_stack {
public:
    using pointer = decltype(Entry::pointer);
    static constexpr std::size_t not_found = ~std::size_t{0};

    context_stack() { push(); }

    bool has_context() const noexcept { return first_removable_ != not_found; }
    std::size_t depth() const noexcept { return m_contexts.size(); }

    /// Where the current context begins; 0 without one.
    std::size_t start() const noexcept { return has_context() ? first_removable_ : 0; }
    std::size_t size() const noexcept { return m_data.size(); }
    Entry& operator[](std::size_t i) noexcept { return m_data[i]; }
    const Entry& operator[](std::size_t i) const noexcept { return m_data[i]; }

    /// Opens a context at the end of the list. Raises std::bad_alloc.
    void push() { push_at(m_data.size()); }

    /// Closes the current context, whose entries are gone.
    void pop() noexcept {
        m_contexts.pop_back();
        follow_current_context();
        hint_ = not_found;
    }

    /// Moves the entries of the current context that are wanted in front of the others, both in their order, and the context's
    /// start behind them: they belong to the outer context from now on. Where the hint was may be another entry then: it's dropped.
    template <class IsWanted>
    void give_to_outer(IsWanted is_wanted) noexcept {
        hint_ = not_found;
        const auto begin = m_data.begin() + static_cast<std::ptrdiff_t>(start());
        const auto others = std::stable_partition(begin, m_data.end(), is_wanted);
        m_contexts.back() = static_cast<std::size_t>(others - m_data.begin());
        follow_current_context();
    }

    /// Opens or closes contexts till there are as many as told; entries of those that it closes belong to the outer ones. What it
    /// opens begins at latest_start, or where the list or the outer context leaves room for that. None needs memory where there
    /// were as many before.
    void bring_back_depth(std::size_t depth, std::size_t latest_start) noexcept {
        while (this->depth() > depth) pop();
        while (this->depth() < depth) push_at(std::max(start(), std::min(latest_start, m_data.size())));
    }

    /// True when a context is open and an append to it needs no memory.
    bool has_room() const noexcept { return m_data.size() < appendable_end_; }

    /// Room for one more entry, so that the next append can't fail. Raises std::bad_alloc.
    void reserve_one() {
        if (m_data.size() < m_data.capacity()) return;
        m_data.push_back(Entry(m_data.back())); // grows as an append does; a full list has a last entry
        m_data.pop_back();
        follow_current_context();
    }

    /// Appends an entry made of fields. Raises std::bad_alloc.
    template <class... Fields>
    void append(Fields... fields) {
        m_data.emplace_back(fields...);
        follow_current_context();
        hint_ = not_found;
    }

    /// The same while has_room(): can't fail.
    template <class... Fields>
    [[gnu::always_inline]] void append_in_room(Fields... fields) noexcept {
        if (m_data.size() >= m_data.capacity()) __builtin_unreachable(); // leaves growth out of the code
        m_data.emplace_back(fields...);
        hint_ = not_found;
    }

    /// Number of entries of the current context that aren't holes.
    std::size_t count_current() const noexcept {
        std::size_t count = 0;
        for (std::size_t i = start(); i < m_data.size(); ++i) count += m_data[i].pointer != nullptr ? 1 : 0;
        return count;
    }

    /// Takes the last entry of the list off, hole or not, and returns its pointer.
    pointer take_last() noexcept {
        const pointer last = m_data.back().pointer;
        m_data.pop_back();
        drop_hint();
        return last;
    }

    void drop_hint() noexcept { hint_ = not_found; }

    /// True when p is the newest entry of the current context; it is then gone, with the holes before it.
    [[gnu::always_inline]] bool remove_newest(pointer p) noexcept {
        if (m_data.size() <= first_removable_ || m_data.back().pointer != p) return false;
        hint_ = not_found;
        m_data.pop_back();
        while (m_data.size() > first_removable_ && m_data.back().pointer == nullptr)
            [[unlikely]] m_data.pop_back();
        return true;
    }

    /// The same where no context is left, for what lies below them all.
    bool remove_newest_below_contexts(pointer p) noexcept {
        if (has_context() || m_data.empty() || m_data.back().pointer != p) return false;
        hint_ = not_found;
        m_data.pop_back();
        while (!m_data.empty() && m_data.back().pointer == nullptr) m_data.pop_back();
        return true;
    }

    /// True when p stands right behind the hint, where a run in order of creation goes on; it is then gone.
    [[gnu::always_inline]] bool remove_behind_hint(pointer p) noexcept {
        const std::size_t next = hint_ + 1; // 0 without a hint
        if (next == 0 || next >= m_data.size() || m_data[next].pointer != p) return false;
        make_hole(next);
        return true;
    }

    bool has_hint() const noexcept { return hint_ != not_found; }

    /// Where p stands in the current context, searched backwards from the end.
    std::size_t find_backwards(pointer p) const noexcept {
        for (std::size_t i = m_data.size(); i > start(); --i) {
            if (m_data[i - 1].pointer == p) return i - 1;
        }
        return not_found;
    }

    /// Where p stands in the current context, searched from the hint in both directions in turn. The hint is dropped.
    std::size_t find_from_hint(pointer p) noexcept {
        std::size_t below = hint_;
        std::size_t above = hint_ + 1; // at the hint itself is a hole
        hint_ = not_found;
        while (below > start() || above < m_data.size()) {
            if (below > start() && m_data[--below].pointer == p) return below;
            if (above < m_data.size() && m_data[above++].pointer == p) return above - 1;
        }
        return not_found;
    }

    /// Makes a hole at i and starts the next search there.
    void make_hole(std::size_t i) noexcept {
        m_data[i].pointer = nullptr;
        hint_ = i;
    }

    /// The number of the context that entry i belongs to: 1 for the base context, 0 below it.
    std::size_t context_of(std::size_t i) const noexcept {
        return static_cast<std::size_t>(std::upper_bound(m_contexts.begin(), m_contexts.end(), i) -
                                        m_contexts.begin());
    }

    /// The rule about contexts and the hint that is broken, as a sentence; null when there is none.
    const char* broken_rule() const noexcept {
        if (!std::is_sorted(m_contexts.begin(), m_contexts.end()))
            return "a context begins where its outer one does, or behind that";
        if (start() > m_data.size()) return "the current context begins within the list";
        if (!has_hint()) return nullptr;
        if (hint_ >= m_data.size() || hint_ + 1 < start())
            return "the hint lies in the current context, or just below it";
        return m_data[hint_].pointer == nullptr ? nullptr : "at the hint is a hole";
    }

private:
    void push_at(std::size_t begin) {
        m_contexts.push_back(begin);
        follow_current_context();
        hint_ = not_found;
    }

    // To be called whenever m_contexts or the capacity of m_data has changed.
    void follow_current_context() noexcept {
        first_removable_ = m_contexts.empty() ? not_found : m_contexts.back();
        appendable_end_ = m_contexts.empty() ? 0 : m_data.capacity();
    }

    boost::container::small_vector<Entry, InlineEntries> m_data;
    boost::container::small_vector<std::size_t, 32> m_contexts;
    // Bounds for one comparison each on the short ways. Without a context nothing lies within them.
    std::size_t first_removable_ = not_found;
    std::size_t appendable_end_ = 0;
    std::size_t hint_ = not_found;
};

} // namespace matrix::internal
