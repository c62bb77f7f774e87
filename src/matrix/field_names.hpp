// The field-name set of a struct or object, and the object info beside it.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// Number of fields; 0 for an array without a name set.
std::size_t field_count(const ndArray_tag* array) noexcept;

/// Gives back the array's count on its name set and frees its object info; info_a to info_c become 0.
void release_struct_info(ndArray_tag* array) noexcept;

/// Gives a copied header the source's name set, with one count more, and an object info of its own. Raises std::bad_alloc; the
/// copy then has neither.
void copy_struct_info(const ndArray_tag* source, ndArray_tag* copy);

} // namespace matrix::internal
