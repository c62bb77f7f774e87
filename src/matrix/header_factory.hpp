// The one maker of array headers.
//
// make() is the full construction: header, then data block, then dimensions; whatever was made before a failure is given
// back. make_blank() gives a header that owns nothing yet, for copies and for views on data that exist already.
#pragma once

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <nd/create.hpp>

#include <memory>

namespace matrix::internal {

class header_factory {
public:
    /// A header with its own block of bytes bytes (none for 0). Raises std::bad_alloc for the header or the dimension block,
    /// foundation::core::except::bad_alloc for the data.
    static array_ptr make(NdArrayTypeId code, dims_view dims, std::size_t bytes, DataInitialization init);

    /// A 0x0 header of class 0 with no flag but inline-dims and one owner. Raises std::bad_alloc.
    static array_ptr make_blank();

    /// make() for m by n of a class with plain elements, whose size has been checked: each field is stored once.
    static ndArray_tag* make_matrix(NdArrayTypeId code, std::size_t m, std::size_t n, std::size_t bytes,
                                    DataInitialization init);

    /// Every field of a new m by n header but pdata: one owner, local scope, nothing else owned.
    static void start(ndArray_tag* array, std::int32_t class_id, std::size_t m, std::size_t n,
                      std::uint32_t flags) noexcept {
        array->share_record = nullptr;
        array->next = nullptr;
        array->class_id = class_id;
        array->scope = ndLOCAL_SCOPE;
        array->ref_count = 1;
        array->internal_ref_count = 0;
        array->flags = flags;
        array->m_or_dims = m;
        array->n_or_ndims = n;
        array->root_record = nullptr;
        array->parent = nullptr;
        array->info_a = 0;
        array->info_b = 0;
        array->info_c = 0;
        array->dims32 = nullptr;
    }
};

/// The flags that a class and its complexity bring.
constexpr std::uint32_t flags_of_code(NdArrayTypeId code) noexcept {
    return (is_complex_code(code) ? flag_complex : 0U) | (is_numeric(code) ? flag_numeric : 0U);
}

/// The flags of a full two-dimensional array of count elements.
constexpr std::uint32_t flags_of_matrix(NdArrayTypeId code, std::size_t count) noexcept {
    const bool scalar_double = class_of(code) == ndDOUBLE_CLASS && count == 1;
    return flag_inline_dims | flags_of_code(code) | (scalar_double ? flag_scalar_double : 0U);
}

/// A fresh data block from the aligned heap; null for 0 bytes. Raises foundation::core::except::bad_alloc.
void* allocate_data(std::size_t bytes, DataInitialization init);

/// Gives a block of allocate_data back; null is ignored.
void free_data(void* block) noexcept;

struct data_deleter {
    void operator()(void* block) const noexcept { free_data(block); }
};
/// Owns a block of allocate_data that no header has yet.
using data_block = std::unique_ptr<void, data_deleter>;

} // namespace matrix::internal
