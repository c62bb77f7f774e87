// Reads of one header that other files of the library share. Loads only: no call, no lock.
#pragma once

#include "matrix/class_table.hpp"

namespace matrix::internal {

inline bool is_complex(const ndArray_tag* array) noexcept {
    return (array->flags & flags_complex_numeric) == flags_complex_numeric;
}

/// Class and complexity of a header. The complex bit counts only for numeric classes: a char array may carry it, and its
/// elements are still two bytes.
inline NdArrayTypeId code_of(const ndArray_tag* array) noexcept {
    return code_of(array->class_id, is_complex(array));
}

/// Bytes of one stored element.
inline std::size_t stored_element_size(const ndArray_tag* array) noexcept {
    return element_size(code_of(array));
}

inline std::uint64_t header_owners(const ndArray_tag* array) noexcept {
    return std::uint64_t{array->ref_count} + array->internal_ref_count;
}

} // namespace matrix::internal
