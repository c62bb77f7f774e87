// Field lookup at its quickest: one open-addressing table from the names of a record to its values, at most half full.
#include "limits.h"

#include "platform/libbase/text_hash.hpp"

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

struct limit_fields {
    struct entry {
        const char* name = nullptr;
        std::size_t length = 0;
        void* value = nullptr;
    };
    std::unique_ptr<entry[]> by_text;
    std::unique_ptr<entry[]> by_pointer;
    std::size_t mask;

    explicit limit_fields(std::size_t slots)
        : by_text(new entry[slots]), by_pointer(new entry[slots]), mask(slots - 1) {}
};

namespace {

std::size_t text_home(const char* name, std::size_t length) {
    return static_cast<std::size_t>(libbase::hash_text(name, length, 0));
}

std::size_t pointer_home(const char* name) {
    return (reinterpret_cast<std::uintptr_t>(name) * 0x9e3779b97f4a7c15U) >> 32;
}

void put(limit_fields::entry* entries, std::size_t mask, std::size_t home, const limit_fields::entry& entry) {
    std::size_t at = home & mask;
    while (entries[at].name != nullptr) at = (at + 1) & mask;
    entries[at] = entry;
}

} // namespace

limit_fields* limit_create_fields(const char* const* names, void* const* values, size_t count) {
    try {
        auto fields = std::make_unique<limit_fields>(std::bit_ceil(2 * count + 1));
        for (size_t i = 0; i < count; ++i) {
            const limit_fields::entry entry{names[i], std::strlen(names[i]), values[i]};
            put(fields->by_text.get(), fields->mask, text_home(entry.name, entry.length), entry);
            put(fields->by_pointer.get(), fields->mask, pointer_home(entry.name), entry);
        }
        return fields.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void limit_destroy_fields(limit_fields* fields) { delete fields; }

void* limit_field_by_text(const limit_fields* fields, const char* name) {
    const std::size_t length = std::strlen(name);
    for (std::size_t at = text_home(name, length) & fields->mask;; at = (at + 1) & fields->mask) {
        const limit_fields::entry& entry = fields->by_text[at];
        if (entry.name == nullptr) return nullptr;
        if (entry.length == length && std::memcmp(entry.name, name, length) == 0) return entry.value;
    }
}

void* limit_field_by_pointer(const limit_fields* fields, const char* name) {
    for (std::size_t at = pointer_home(name) & fields->mask;; at = (at + 1) & fields->mask) {
        const limit_fields::entry& entry = fields->by_pointer[at];
        if (entry.name == name) return entry.value;
        if (entry.name == nullptr) return nullptr;
    }
}
