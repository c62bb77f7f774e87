// The array that a reference reads where no list of positions is needed, and the arrays that it makes.
#pragma once

#include "indexing/reference.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/complexity.hpp"
#include "matrix/scaffolding.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <utility>

namespace matrix::internal {

/// Data that lie in pdata as they are.
inline bool is_full_and_current(const ndArray_tag* array) {
    constexpr std::uint32_t other_storage = flag_sparse | flag_colon_object | flag_indexing_opaque;
    if ((array->flags & other_storage) != 0 || array->pdata == nullptr) return false;
    const scaffolding* const view = view_of(array);
    return view == nullptr || !view->is_split;
}

/// A full array of plain elements. Borrows the header.
struct plain_source {
    explicit plain_source(const ndArray_tag* array) noexcept
        : header(array),
          data(static_cast<const std::byte*>(array->pdata)),
          code(code_of(array)),
          size(element_size(code)) {}

    std::size_t width() const noexcept { return static_cast<std::size_t>(std::countr_zero(size)); }

    const ndArray_tag* header;
    const std::byte* data;
    NdArrayTypeId code;
    std::size_t size;
};

/// An array like the source, without values. Null where the user's limit forbids it: what else is wrong is told first. Raises as a creator
/// does.
array_ptr create_like(const plain_source& source, dims_view dims, std::size_t count);

/// The same, m by n. No limit of the user is as low as what the cache holds.
[[gnu::always_inline]] inline array_ptr create_like(const plain_source& source, std::size_t m,
                                                    std::size_t n) {
    if (ndArray_tag* const pair = take_ready_pair(source.code, m, n, DataInitialization::uninitialized))
        [[likely]] {
        pair->flags |= source.header->flags & flags_kept_by_reference;
        return array_ptr(pair);
    }
    return create_like(source, std::array{m, n}, m * n);
}

/// What doesn't depend on how the elements got there.
[[gnu::always_inline]] inline array_ptr finished(const plain_source& source, array_ptr result) {
    if (is_complex_code(source.code)) {
        free_imag_if_zero(result.get());
        refresh_scalar_double(result.get());
    }
    return result;
}

/// x(i, j, ...). As reference_at_once.
array_ptr reference_block(const plain_source& source, subscript_span subs);

} // namespace matrix::internal
