// The symbol table: one copy of each text, for the whole process and for as long as it runs.
//
// Equal texts give equal pointers, so texts that went through here are compared and hashed by address. Symbols are never
// freed; what grows without bound doesn't belong here.
//
// Threads: any number may call at once. Finding a text that is there takes no lock; adding one locks a part of the table.
// All of it may be called from static constructors and at thread exit.
#pragma once

#include <cstddef>

/// The symbol of a NUL-terminated text, added when it is new. Throws std::bad_alloc with the table unchanged.
const char* base_symtab_add(const char* text);

/// The same for the length bytes at text, which need no terminator; the symbol has one. Bytes of value 0 inside the text
/// count: the symbol then differs from that of the shorter text before them. text isn't null, even when length is 0.
const char* base_symtab_add(const char* text, std::size_t length);

/// The symbol of a text, or null when the text was never added. Takes no lock and adds nothing.
const char* base_symtab_find(const char* text) noexcept;
const char* base_symtab_find(const char* text, std::size_t length) noexcept;
