// A hash table from pointers to words. Keys are compared by address; a word holds a number or a pointer, as the user likes.
//
// No key is null. Threads: one table is used by one thread at a time, or read by several while nobody changes it.
#pragma once

#include <cstddef>
#include <cstdint>

struct base_ghash_table;

/// A new, empty table with room for that many keys. The caller owns it. Throws std::bad_alloc.
base_ghash_table* base_new_ghash_table(std::size_t expected_keys = 0);

/// Ends a table; null is allowed.
void base_delete_ghash_table(base_ghash_table* table) noexcept;

/// The value of a key, or null when the key isn't there. The pointer is good until the table is next changed.
const std::uintptr_t* base_ghash_find(const base_ghash_table* table, const void* key) noexcept;

/// Adds a key. False, and nothing changed, when the key is there already. Throws std::bad_alloc with the table unchanged.
bool base_ghash_insert(base_ghash_table* table, const void* key, std::uintptr_t value);

/// Gives a key that is there another value. False, and nothing changed, when the key isn't there.
bool base_ghash_replace(base_ghash_table* table, const void* key, std::uintptr_t value) noexcept;

/// Takes a key out. False when it wasn't there. The table keeps its size.
bool base_ghash_remove(base_ghash_table* table, const void* key) noexcept;
