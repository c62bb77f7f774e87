// The field-name set of a struct or object, and the object info beside it: the words info_a to info_c of its header.
//
// info_a and info_b are the two words of a std::shared_ptr<name_index_info>, its object first. Headers are read by engines as
// plain words, so no shared_ptr lives in them: it is moved into the words and out again as a whole, here and nowhere else.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/name_set.hpp"

#include <bit>
#include <utility>

namespace matrix::internal {

/// The name set of a struct-like array, or null. Lives as long as the array keeps its fields.
inline const name_index_info* names_of(const ndArray_tag* array) noexcept {
    return std::bit_cast<const name_index_info*>(array->info_a);
}

/// Number of fields of a struct-like array; 0 without a name set.
inline std::size_t field_count(const ndArray_tag* array) noexcept {
    const name_index_info* const set = names_of(array);
    return set == nullptr ? 0 : static_cast<std::size_t>(set->count);
}

/// Number of fields of any array; what isn't struct-like, and may have something else in these words, has none.
inline std::size_t fields_of(const ndArray_tag* array) noexcept {
    return is_struct_like(array->class_id) ? field_count(array) : 0;
}

/// Moves the array's count on its name set out of the header, which has no fields then.
name_set_ptr take_names(ndArray_tag* array) noexcept;

/// Moves a set into a struct-like header that has none.
void put_names(ndArray_tag* array, name_set_ptr set) noexcept;

/// Takes the set out of a header for a change and puts back what has become of it.
class held_names {
public:
    explicit held_names(ndArray_tag* array) noexcept : array_(array), set_(take_names(array)) {}
    ~held_names() { put_names(array_, std::move(set_)); }
    held_names(const held_names&) = delete;
    held_names& operator=(const held_names&) = delete;

    name_set_ptr& set() noexcept { return set_; }

private:
    ndArray_tag* array_;
    name_set_ptr set_;
};

/// How many headers have the array's name set.
long name_set_owners(const ndArray_tag* array) noexcept;

/// Gives copy the source's name set, by one more count, and a copy of its object info. Both are struct-like; copy has neither
/// yet. Raises std::bad_alloc with copy unchanged.
void copy_struct_info(const ndArray_tag* source, ndArray_tag* copy);

/// Gives back the array's count on its name set and frees its object info; info_a to info_c become 0.
void release_struct_info(ndArray_tag* array) noexcept;

} // namespace matrix::internal
