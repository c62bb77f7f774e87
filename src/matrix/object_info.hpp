// What an object array knows about its class beside its fields: a record that hangs from info_c of struct and object headers.
//
// The record is owned by its header; the class name in it is a symbol, which nobody owns. So a copy of the record is a copy of
// its 16 bytes, and names are equal when their pointers are. A header without a record reads as one that is all zero.
#pragma once

#include <nd/array.hpp>

#include <bit>

namespace matrix::internal {

struct object_info {
    const char* class_name = nullptr; ///< a symbol, or null
    std::int32_t tag_index = 0;
    std::uint32_t check_sum = 0;

    friend bool operator==(const object_info&, const object_info&) = default;
};
static_assert(sizeof(object_info) == 16);

/// The facts about a struct-like array's class.
inline object_info read_object_info(const ndArray_tag* array) noexcept {
    return array->info_c == 0 ? object_info() : *std::bit_cast<const object_info*>(array->info_c);
}

/// Stores the facts; the record is made when it is missing and something isn't zero. Raises std::bad_alloc; the array is then
/// unchanged.
void write_object_info(ndArray_tag* array, const object_info& info);

/// Frees the record, if any.
void free_object_info(ndArray_tag* array) noexcept;

} // namespace matrix::internal
