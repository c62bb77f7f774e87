// The set of field names that struct and object arrays with the same fields share.
//
// One allocation holds the record and, behind it, the names in field order:
//
//     OFFSET SIZE FIELD      MEANING
//          0    4 count      number of names, at least 1: an array without fields has no set
//          4    1 has_spare  there is room for capacity_for(count) names, not for count only
//          8    8 table      hash table from symbol to index; exists from 64 names on
//         16   8n names      symbols of the process-wide symbol table; room for at least one
//
// Names are symbols: equal texts are equal pointers, no set owns them, and they live as long as the process.
// A set is counted and copied on write: it is changed in place only by its one owner, so whoever holds a count on it may read
// it on another thread. A created set may hold a name twice; the last of equal names is the one that is found.
#pragma once

#include <libbase/ghash.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>

namespace matrix::internal {

struct name_index_info {
    std::int32_t count;
    bool has_spare;
    base_ghash_table* table;

    const char** names() noexcept { return std::launder(reinterpret_cast<const char**>(this + 1)); }
    const char* const* names() const noexcept {
        return std::launder(reinterpret_cast<const char* const*>(this + 1));
    }
};
static_assert(sizeof(name_index_info) == 16 && offsetof(name_index_info, has_spare) == 4 &&
              offsetof(name_index_info, table) == 8);

using name_set_ptr = std::shared_ptr<name_index_info>;

/// From this many names on a set keeps a table.
inline constexpr std::int32_t names_with_table = 64;

/// A set of these names, room for exactly them; none for no names. The texts aren't checked. Raises std::bad_alloc.
name_set_ptr make_name_set(std::span<const char* const> names);

/// Index of a name, -1 when it isn't there or there is no set. A set with a table makes a symbol of the name first, which
/// raises std::bad_alloc.
std::int32_t find_name(const name_index_info* set, const char* name);

/// Whether this owner is the only one. True also means that what former owners read, they read before what comes now.
bool is_sole_owner(const name_set_ptr& set) noexcept;

/// One name more, in two steps: everything that can fail, then the change itself. An addition that is given up leaves the
/// set as it was.
class name_addition {
public:
    /// set is the owner's pointer, which may be empty; it isn't touched before commit(). Raises std::bad_alloc.
    name_addition(name_set_ptr& set, const char* name);
    ~name_addition();
    name_addition(const name_addition&) = delete;
    name_addition& operator=(const name_addition&) = delete;

    /// The owner's pointer now leads to the set with the name at its end.
    void commit() noexcept;

private:
    void reserve_entry(std::int32_t new_index);

    name_set_ptr& set_;
    const char* symbol_;
    name_set_ptr replacement_;             ///< the new set, or none when the name goes in place
    base_ghash_table* built_ = nullptr;    ///< the table that the 64th name asks for
    base_ghash_table* entry_in_ = nullptr; ///< a table that holds the new name already
    bool takes_table_ = false;             ///< the replacement goes on with the old set's table
};

/// One name less, in the same two steps.
class name_removal {
public:
    /// set isn't empty and index is one of its names. Raises std::bad_alloc.
    name_removal(name_set_ptr& set, std::int32_t index);

    /// The owner's pointer now leads to the set without the name; to none when it was the only one.
    void commit() noexcept;

private:
    name_set_ptr& set_;
    std::int32_t index_;
    bool in_place_ = false;
    name_set_ptr replacement_;
};

} // namespace matrix::internal
