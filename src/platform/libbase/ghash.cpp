// The pointer table: open addressing with linear probing, at most half full, so that finding a key is one multiplication
// and, nearly always, one cache line. Removal moves later keys of the run back instead of leaving a mark.
#include <libbase/ghash.hpp>

#include <bit>
#include <memory>
#include <utility>

namespace {

struct entry {
    const void* key = nullptr; // null: the slot is empty
    std::uintptr_t value = 0;
};

constexpr std::size_t smallest_slot_count = 128; // 64 keys: where name sets begin to keep a table

} // namespace

struct base_ghash_table {
    std::unique_ptr<entry[]> slots;
    std::size_t mask;
    unsigned shift; // 64 - log2 of the number of slots
    std::size_t count = 0;

    explicit base_ghash_table(std::size_t slot_count)
        : slots(std::make_unique<entry[]>(slot_count)),
          mask(slot_count - 1),
          shift(64U - static_cast<unsigned>(std::countr_zero(slot_count))) {}

    // The top bits of the product depend on all bits of the address, the low ones (always zero) don't count.
    std::size_t home(const void* key) const noexcept {
        return (reinterpret_cast<std::uintptr_t>(key) * 0x9e3779b97f4a7c15U) >> shift;
    }

    // The slot of the key, or the empty slot where it would go.
    entry& locate(const void* key) const noexcept {
        std::size_t at = home(key);
        while (slots[at].key && slots[at].key != key) at = (at + 1) & mask;
        return slots[at];
    }
};

base_ghash_table* base_new_ghash_table(std::size_t expected_keys) {
    if (expected_keys > (std::size_t{1} << 58)) throw std::bad_alloc();
    const std::size_t wanted = std::bit_ceil(2 * expected_keys);
    return new base_ghash_table(wanted > smallest_slot_count ? wanted : smallest_slot_count);
}

void base_delete_ghash_table(base_ghash_table* table) noexcept { delete table; }

const std::uintptr_t* base_ghash_find(const base_ghash_table* table, const void* key) noexcept {
    const entry& found = table->locate(key);
    return found.key ? &found.value : nullptr;
}

bool base_ghash_insert(base_ghash_table* table, const void* key, std::uintptr_t value) {
    entry* target = &table->locate(key);
    if (target->key) return false;
    if (2 * (table->count + 1) > table->mask + 1) {
        base_ghash_table larger(2 * (table->mask + 1));
        for (std::size_t i = 0; i <= table->mask; ++i)
            if (table->slots[i].key) larger.locate(table->slots[i].key) = table->slots[i];
        larger.count = table->count;
        *table = std::move(larger);
        target = &table->locate(key);
    }
    *target = {key, value};
    ++table->count;
    return true;
}

bool base_ghash_replace(base_ghash_table* table, const void* key, std::uintptr_t value) noexcept {
    entry& found = table->locate(key);
    if (!found.key) return false;
    found.value = value;
    return true;
}

bool base_ghash_remove(base_ghash_table* table, const void* key) noexcept {
    entry* hole = &table->locate(key);
    if (!hole->key) return false;
    const std::size_t mask = table->mask;
    entry* const slots = table->slots.get();
    std::size_t gap = static_cast<std::size_t>(hole - slots);
    for (std::size_t at = (gap + 1) & mask; slots[at].key; at = (at + 1) & mask) {
        // A key may move into the gap when the gap lies between its home and where it stands now.
        const std::size_t home = table->home(slots[at].key);
        if (((at - home) & mask) >= ((at - gap) & mask)) {
            slots[gap] = slots[at];
            gap = at;
        }
    }
    slots[gap] = {};
    --table->count;
    return true;
}
