// What an object carries beside its fields: class name, tag index, check sum. info_c of its header leads to it.
//
// The 16-byte record belongs to its header; the class name is a symbol and belongs to nobody, so that equal names are equal
// pointers and a copy of the record is a copy of its bytes.
#pragma once

#include <nd/array.hpp>

#include <bit>

namespace matrix::internal {

struct object_info {
    const char* class_name;
    std::int32_t tag_index;
    std::uint32_t check_sum;
};
static_assert(sizeof(object_info) == 16);

/// The record of an object or struct, or null.
inline object_info* object_info_of(const ndArray_tag* array) noexcept {
    return std::bit_cast<object_info*>(array->info_c);
}

/// A record of its own with the same contents, as a word; 0 for 0. Raises std::bad_alloc.
std::uint64_t copy_object_info(std::uint64_t word);

/// Frees the record of a word; 0 is ignored.
void free_object_info(std::uint64_t word) noexcept;

} // namespace matrix::internal
