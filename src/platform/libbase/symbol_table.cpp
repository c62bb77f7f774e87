// The symbol table: sixteen shards, chosen by the top bits of the hash, each an open-addressing table with linear probing.
//
// Readers load the shard's table and walk its slots with no lock. Writers hold the shard's mutex. A slot goes from empty to
// filled once and never changes again: the hash is stored first, then the pointer with release order, so whoever sees the
// pointer sees the hash and the text. Growth copies the slots into a table twice as large and publishes it; the smaller one
// is kept, since a reader may still be in it. What such a reader misses there, it looks for once more under the mutex.
//
// A symbol is its length (8 bytes), its bytes and a terminator, cut from blocks that the shard owns. Nothing is ever freed,
// and the shards are plain constant-initialised data: they work before main, and after static destructors have begun.
#include <libbase/symbol_table.hpp>

#include "platform/libbase/text_hash.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>

namespace libbase {
namespace {

struct slot {
    std::atomic<std::uint64_t> hash;
    std::atomic<const char*> text; // null while the slot is empty
};

struct slot_table {
    const slot_table* replaced; // the smaller table before this one: kept for its readers
    std::size_t mask;           // number of slots - 1; the slots lie behind this record

    const slot* slots() const noexcept { return std::launder(reinterpret_cast<const slot*>(this + 1)); }
    slot* slots() noexcept { return std::launder(reinterpret_cast<slot*>(this + 1)); }
};
static_assert(sizeof(slot_table) % alignof(slot) == 0);

std::size_t length_of(const char* symbol) noexcept {
    std::size_t length;
    std::memcpy(&length, symbol - sizeof length, sizeof length);
    return length;
}

slot_table* make_table(std::size_t slot_count, const slot_table* replaced) {
    void* const room = ::operator new(sizeof(slot_table) + slot_count * sizeof(slot));
    slot_table* const table = ::new (room) slot_table{replaced, slot_count - 1};
    std::uninitialized_value_construct_n(reinterpret_cast<slot*>(table + 1), slot_count);
    return table;
}

// Only for a writer, and only while the table has an empty slot.
void put(slot_table& table, const char* symbol, std::uint64_t hash) noexcept {
    slot* const slots = table.slots();
    std::size_t at = hash & table.mask;
    while (slots[at].text.load(std::memory_order_relaxed)) at = (at + 1) & table.mask;
    slots[at].hash.store(hash, std::memory_order_relaxed);
    slots[at].text.store(symbol, std::memory_order_release);
}

// Names are short: up to 16 bytes two overlapping reads tell whether both texts are equal, without a call.
bool same_text(const char* a, const char* b, std::size_t length) noexcept {
    if (length > 16 || length < 4) return std::memcmp(a, b, length) == 0;
    if (length >= 8) return read_64(a) == read_64(b) && read_64(a + length - 8) == read_64(b + length - 8);
    return read_32(a) == read_32(b) && read_32(a + length - 4) == read_32(b + length - 4);
}

const char* find_in(const slot_table* table, const char* text, std::size_t length,
                    std::uint64_t hash) noexcept {
    if (!table) return nullptr;
    const slot* const slots = table->slots();
    for (std::size_t at = hash & table->mask;; at = (at + 1) & table->mask) {
        const char* const symbol = slots[at].text.load(std::memory_order_acquire);
        if (!symbol) return nullptr;
        if (slots[at].hash.load(std::memory_order_relaxed) == hash && length_of(symbol) == length &&
            same_text(symbol, text, length))
            return symbol;
    }
}

// Room for symbols, cut from blocks that are never given back.
class symbol_room {
public:
    // Enough bytes for a symbol of that length. They are taken by the commit that follows, or else offered again.
    char* reserve(std::size_t length) {
        const std::size_t wanted = bytes_for(length);
        if (wanted > left_) {
            // The first word of a block points to the block before it, so that all stay reachable for leak checkers.
            const std::size_t size = std::max(wanted, block_bytes - sizeof(void*));
            char* const block = static_cast<char*>(::operator new(sizeof(void*) + size));
            std::memcpy(block, &newest_, sizeof(void*));
            newest_ = block;
            next_ = block + sizeof(void*);
            left_ = size;
        }
        return next_;
    }

    const char* commit(const char* text, std::size_t length) noexcept {
        char* const symbol = next_ + sizeof length;
        std::memcpy(next_, &length, sizeof length);
        std::memcpy(symbol, text, length);
        symbol[length] = '\0';
        next_ += bytes_for(length);
        left_ -= bytes_for(length);
        return symbol;
    }

private:
    static constexpr std::size_t block_bytes = 4096;

    static std::size_t bytes_for(std::size_t length) noexcept {
        return (sizeof length + length + 1 + (sizeof length - 1)) & ~(sizeof length - 1);
    }

    char* newest_ = nullptr;
    char* next_ = nullptr;
    std::size_t left_ = 0;
};

class alignas(64) shard {
public:
    const char* find(const char* text, std::size_t length, std::uint64_t hash) const noexcept {
        return find_in(table_.load(std::memory_order_acquire), text, length, hash);
    }

    // Both allocations come before the first change, so a failure of either leaves the shard as it was.
    const char* add(const char* text, std::size_t length, std::uint64_t hash) {
        const std::lock_guard lock(writers_);
        slot_table* table = table_.load(std::memory_order_relaxed);
        if (const char* const symbol = find_in(table, text, length, hash)) return symbol;
        room_.reserve(length);
        if (!table || 2 * (count_ + 1) > table->mask + 1) table = grow(table);
        const char* const symbol = room_.commit(text, length);
        put(*table, symbol, hash);
        ++count_;
        return symbol;
    }

private:
    slot_table* grow(const slot_table* old) {
        constexpr std::size_t first_slot_count = 64;
        slot_table* const table = make_table(old ? 2 * (old->mask + 1) : first_slot_count, old);
        for (std::size_t i = 0; old && i <= old->mask; ++i) {
            const slot& from = old->slots()[i];
            if (const char* const symbol = from.text.load(std::memory_order_relaxed))
                put(*table, symbol, from.hash.load(std::memory_order_relaxed));
        }
        table_.store(table, std::memory_order_release);
        return table;
    }

    std::atomic<slot_table*> table_{nullptr};
    std::mutex writers_; // guards what follows, and every store into the table
    std::size_t count_ = 0;
    symbol_room room_;
};
static_assert(std::is_trivially_destructible_v<shard>, "symbols outlive every static object");

constexpr unsigned shard_bits = 4;
constinit shard shards[1U << shard_bits];

shard& shard_of(std::uint64_t hash) noexcept { return shards[hash >> (64 - shard_bits)]; }

// The place of the library in memory seeds the hash: names read from a file can't be chosen to collide.
std::uint64_t symbol_hash(const char* text, std::size_t length) noexcept {
    return hash_text(text, length, reinterpret_cast<std::uintptr_t>(&shards));
}

} // namespace
} // namespace libbase

const char* base_symtab_find(const char* text, std::size_t length) noexcept {
    const std::uint64_t hash = libbase::symbol_hash(text, length);
    return libbase::shard_of(hash).find(text, length, hash);
}

const char* base_symtab_find(const char* text) noexcept { return base_symtab_find(text, std::strlen(text)); }

const char* base_symtab_add(const char* text, std::size_t length) {
    const std::uint64_t hash = libbase::symbol_hash(text, length);
    libbase::shard& shard = libbase::shard_of(hash);
    const char* const symbol = shard.find(text, length, hash);
    return symbol ? symbol : shard.add(text, length, hash);
}

const char* base_symtab_add(const char* text) { return base_symtab_add(text, std::strlen(text)); }
