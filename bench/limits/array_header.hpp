// The header of a limit array: the fields and the size of libnd's, set as a new array needs them.
#pragma once

#include "limits.h"

#include <cstdint>

struct limit_array {
    void* share_record;
    limit_array* next;
    std::int32_t class_id;
    std::uint32_t scope;
    std::uint32_t owners;
    std::uint32_t other_owners;
    std::uint32_t list; // the free list that the pair came from
    std::size_t m;
    std::size_t n;
    void* root;
    void* parent;
    void* data;
    std::uint64_t info[3];
    void* dims32;
};
static_assert(sizeof(limit_array) == 112);

namespace limits {

inline constexpr std::int32_t double_class = 6;

// What every creator stores in a header, whatever was there. Field by field: a whole header assigned at once becomes a
// string instruction, which takes longer to start than the stores take. The block stays.
inline void start(limit_array* array, std::size_t m, std::size_t n, std::uint32_t list) noexcept {
    array->share_record = nullptr;
    array->next = nullptr;
    array->class_id = double_class;
    array->scope = 0;
    array->owners = 1;
    array->other_owners = 0;
    array->list = list;
    array->m = m;
    array->n = n;
    array->root = nullptr;
    array->parent = nullptr;
    array->info[0] = 0;
    array->info[1] = 0;
    array->info[2] = 0;
    array->dims32 = nullptr;
}

} // namespace limits
