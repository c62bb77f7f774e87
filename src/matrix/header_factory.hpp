// The one maker of array headers.
//
// make() is the full construction: header, then data block, then dimensions; whatever was made before a failure is given
// back. make_blank() gives a header that owns nothing yet, for copies and for views on data that exist already.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

class header_factory {
public:
    /// A header with its own block of bytes bytes (none for 0). Raises std::bad_alloc for the header or the dimension block,
    /// foundation::core::except::bad_alloc for the data.
    static array_ptr make(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init);

    /// A 0x0 header of class 0 with no flag but inline-dims and one owner. Raises std::bad_alloc.
    static array_ptr make_blank();

    /// The fields that every new header starts with: one owner, everything else zero.
    static void reset(ndArray_tag* array) noexcept;
};

/// The flags that a class and its complexity bring.
constexpr std::uint32_t flags_of_code(NdArrayTypeId code) noexcept {
    return (is_complex_code(code) ? flag_complex : 0U) | (is_numeric(code) ? flag_numeric : 0U);
}

/// A fresh data block from the aligned heap; null for 0 bytes. Raises foundation::core::except::bad_alloc.
void* allocate_data(std::size_t bytes, DataInitialization init);

/// Gives a block of allocate_data back; null is ignored.
void free_data(void* block) noexcept;

} // namespace matrix::internal
