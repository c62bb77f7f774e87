// Name sets: making, searching, and the two changes.
//
//   adding     one owner, spare room   in place
//              one owner               a block with the capacity of the new count takes over the table
//              several owners          an exact copy with a table of its own
//   removing   the only name           no set
//              one owner, same capacity in place, the table follows
//              otherwise               a new set
//
// Capacities grow by doubling only above 256 names, so smaller sets are always exact.
#include "matrix/name_set.hpp"

#include "matrix/size_check.hpp"

#include <libbase/symbol_table.hpp>

#include <algorithm>
#include <utility>

namespace matrix::internal {
namespace {

struct table_deleter {
    void operator()(base_ghash_table* table) const noexcept { base_delete_ghash_table(table); }
};
using table_ptr = std::unique_ptr<base_ghash_table, table_deleter>;

// What the control block of a set runs when the last owner goes.
struct name_set_deleter {
    void operator()(name_index_info* set) const noexcept {
        base_delete_ghash_table(set->table);
        ::operator delete(set);
    }
};

name_set_ptr allocate(std::size_t capacity) {
    const std::size_t room = std::max<std::size_t>(capacity, 1) * sizeof(const char*);
    void* const block = ::operator new(sizeof(name_index_info) + room);
    return name_set_ptr(::new (block) name_index_info{0, false, nullptr}, name_set_deleter());
}

std::size_t size_of(const name_index_info& set) noexcept { return static_cast<std::size_t>(set.count); }

// Of equal names the last one keeps the entry, as the scan from the end finds it.
void enter(base_ghash_table* table, const char* symbol, std::int32_t index) {
    const auto value = static_cast<std::uintptr_t>(index);
    if (!base_ghash_insert(table, symbol, value)) base_ghash_replace(table, symbol, value);
}

table_ptr build_table(const name_index_info& set, std::size_t expected) {
    table_ptr table(base_new_ghash_table(expected));
    for (std::int32_t i = 0; i < set.count; ++i) enter(table.get(), set.names()[i], i);
    return table;
}

// The last of the equal names gave the entry up: the one before it takes over, or the name leaves the table.
void drop_entry(name_index_info& set, std::int32_t index) noexcept {
    const char* const symbol = set.names()[index];
    const std::uintptr_t* const entry = base_ghash_find(set.table, symbol);
    if (*entry != static_cast<std::uintptr_t>(index)) return;
    for (std::int32_t i = index; i-- > 0;) {
        if (set.names()[i] != symbol) continue;
        base_ghash_replace(set.table, symbol, static_cast<std::uintptr_t>(i));
        return;
    }
    base_ghash_remove(set.table, symbol);
}

void remove_in_place(name_index_info& set, std::int32_t index) noexcept {
    drop_entry(set, index);
    const char** const names = set.names();
    std::copy(names + index + 1, names + set.count, names + index);
    --set.count;
    for (std::int32_t i = index; i < set.count; ++i)
        base_ghash_replace(set.table, names[i], static_cast<std::uintptr_t>(i));
}

} // namespace

name_set_ptr make_name_set(std::span<const char* const> names) {
    if (names.empty()) return nullptr;
    name_set_ptr set = allocate(names.size());
    for (const char* const name : names) set->names()[set->count++] = base_symtab_add(name);
    if (set->count >= names_with_table) set->table = build_table(*set, names.size()).release();
    return set;
}

// Names are symbols, so a text is looked up in the symbol table once and then compared by address.
std::int32_t find_name(const name_index_info* set, const char* name) {
    if (set == nullptr) return -1;
    const char* const symbol = base_symtab_find(name);
    if (set->table != nullptr) {
        if (symbol == nullptr) base_symtab_add(name); // asked for once, the name is a symbol from now on
        const std::uintptr_t* const entry = symbol ? base_ghash_find(set->table, symbol) : nullptr;
        return entry == nullptr ? -1 : static_cast<std::int32_t>(*entry);
    }
    if (symbol == nullptr) return -1;
    std::int32_t index = set->count;
    while (index-- > 0 && set->names()[index] != symbol) {
    }
    return index;
}

bool is_sole_owner(const name_set_ptr& set) noexcept {
    if (set.use_count() != 1) return false;
    // use_count() is a relaxed load. Giving a count back is a read-modify-write that acquires, so what the owners before
    // released when they left comes before what this one does now.
    name_set_ptr(set).reset();
    return true;
}

name_addition::name_addition(name_set_ptr& set, const char* name)
    : set_(set), symbol_(base_symtab_add(name)) {
    if (!set) {
        replacement_ = allocate(1);
        return;
    }
    const std::size_t count = size_of(*set);
    const bool sole = is_sole_owner(set);
    const bool in_place = sole && set->has_spare && capacity_for(count) > count;
    if (!in_place) {
        const std::size_t capacity = sole ? capacity_for(count + 1) : count + 1;
        replacement_ = allocate(capacity);
        replacement_->has_spare = capacity > count + 1;
        std::copy_n(set->names(), count, replacement_->names());
        replacement_->count = set->count;
        takes_table_ = sole;
        if (!sole && set->table != nullptr) replacement_->table = build_table(*set, count + 1).release();
    }
    reserve_entry(set->count);
}

// The table that will be the new set's gets its entry now, since that may need memory. Nobody looks for the name meanwhile.
void name_addition::reserve_entry(std::int32_t new_index) {
    base_ghash_table* const table = replacement_ && !takes_table_ ? replacement_->table : set_->table;
    if (table != nullptr) {
        base_ghash_insert(table, symbol_, static_cast<std::uintptr_t>(new_index));
        if (table == set_->table) entry_in_ = table;
    } else if (new_index + 1 >= names_with_table) {
        table_ptr built = build_table(*set_, static_cast<std::size_t>(new_index) + 1);
        enter(built.get(), symbol_, new_index);
        built_ = built.release();
    }
}

name_addition::~name_addition() {
    if (entry_in_ != nullptr) base_ghash_remove(entry_in_, symbol_);
    base_delete_ghash_table(built_);
}

void name_addition::commit() noexcept {
    name_index_info& target = replacement_ ? *replacement_ : *set_;
    if (takes_table_) target.table = std::exchange(set_->table, nullptr);
    if (built_ != nullptr) target.table = std::exchange(built_, nullptr);
    entry_in_ = nullptr;
    target.names()[target.count++] = symbol_;
    if (replacement_) set_ = std::move(replacement_);
}

name_removal::name_removal(name_set_ptr& set, std::int32_t index) : set_(set), index_(index) {
    const std::size_t left = size_of(*set) - 1;
    if (left == 0) return;
    const std::size_t capacity = set->has_spare ? capacity_for(left) : left;
    if (set->has_spare && capacity == capacity_for(left + 1) && is_sole_owner(set)) {
        in_place_ = true;
        return;
    }
    replacement_ = allocate(capacity);
    replacement_->has_spare = capacity > left;
    const char* const* const names = set->names();
    const char** const end = std::copy(names, names + index, replacement_->names());
    std::copy(names + index + 1, names + set->count, end);
    replacement_->count = static_cast<std::int32_t>(left);
    if (replacement_->count >= names_with_table)
        replacement_->table = build_table(*replacement_, left).release();
}

void name_removal::commit() noexcept {
    if (in_place_) {
        remove_in_place(*set_, index_);
    } else {
        set_ = std::move(replacement_);
    }
}

} // namespace matrix::internal
