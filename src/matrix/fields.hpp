// Fields of structs and objects: which there are, one more, one less.
#pragma once

#include "matrix/containers.hpp"

namespace matrix::internal {

/// Index of a field by name; -1 when the array hasn't got it. Raises std::bad_alloc from 64 fields on.
std::int32_t field_number(const ndArray_tag* array, const char* name);

/// The slot of a field of one element.
inline std::size_t field_slot(const ndArray_tag* array, std::size_t element, std::size_t field) noexcept {
    return element * field_count(array) + field;
}

/// Adds a field whose values are null and returns its number; that of the field when the name exists, and nothing changes
/// then. The name isn't checked. The array is struct-like and its slots are its own.
/// -1 when there is no memory for the names; raises the size errors, and out of memory for the lookup and the slots. The array
/// is then unchanged.
std::int32_t add_field(ndArray_tag* array, const char* name);

/// Removes a field. With array lists kept its values become temporaries, but one that others own as well only loses the
/// slot's reference; without lists all references are the caller's. Does nothing for an array that isn't struct-like and for
/// a number that is no field's. The array's slots are its own. Raises out of memory; the array is then unchanged.
void remove_field(ndArray_tag* array, std::int32_t number);

} // namespace matrix::internal
