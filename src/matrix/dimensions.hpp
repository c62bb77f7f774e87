// The dimensions of a header, in their two forms.
//
//   inline       up to two dimensions stand in m_or_dims and n_or_ndims, and flag_inline_dims says so
//   out of line  three or more: m_or_dims is an owned block of n_or_ndims sizes from the general heap
//
// Readers that must see an indexing-opaque array's real shape call complete_opaque_dimensions first; nothing here does.
#pragma once

#include "matrix/class_table.hpp"

#include <bit>
#include <memory>
#include <span>

namespace matrix::internal {

using dims_view = std::span<const std::size_t>;

inline bool has_inline_dims(const ndArray_tag* array) noexcept {
    return (array->flags & flag_inline_dims) != 0;
}

/// The owned block of the out-of-line form.
inline std::size_t* dims_block(const ndArray_tag* array) noexcept {
    return std::bit_cast<std::size_t*>(array->m_or_dims);
}

/// The stored dimensions, at least two. Valid till the array's dimensions change.
inline dims_view dims_of(const ndArray_tag* array) noexcept {
    static_assert(std::is_same_v<std::size_t, std::uint64_t>);
    static_assert(offsetof(ndArray_tag, n_or_ndims) ==
                  offsetof(ndArray_tag, m_or_dims) + sizeof(std::uint64_t));
    if (has_inline_dims(array)) {
        const auto* header = reinterpret_cast<const std::byte*>(array);
        return {reinterpret_cast<const std::size_t*>(header + offsetof(ndArray_tag, m_or_dims)), 2};
    }
    return {dims_block(array), array->n_or_ndims};
}

/// Product of the stored dimensions. No overflow test: creators have made it.
inline std::size_t element_count(const ndArray_tag* array) noexcept {
    if (has_inline_dims(array)) return array->m_or_dims * array->n_or_ndims;
    std::size_t count = 1;
    for (const std::size_t dim : dims_of(array)) count *= dim;
    return count;
}

/// Drops trailing dimensions of 1 beyond the second: 1x1x1 is 1x1.
constexpr dims_view without_trailing_ones(dims_view dims) noexcept {
    while (dims.size() > 2 && dims.back() == 1) dims = dims.first(dims.size() - 1);
    return dims;
}

/// Frees the out-of-line block, if any, and leaves the header 0x0.
void free_dims(ndArray_tag* array) noexcept;

/// Sets scalar-double from class, storage and dimensions: a full 1x1 double has it.
inline void refresh_scalar_double(ndArray_tag* array) noexcept {
    const bool scalar_double = array->class_id == ndDOUBLE_CLASS && (array->flags & flag_sparse) == 0 &&
                               has_inline_dims(array) && array->m_or_dims == 1 && array->n_or_ndims == 1;
    array->flags = scalar_double ? array->flags | flag_scalar_double : array->flags & ~flag_scalar_double;
}

/// Stores m by n in a header that has no block.
inline void store_inline_dims(ndArray_tag* array, std::size_t m, std::size_t n) noexcept {
    array->m_or_dims = m;
    array->n_or_ndims = n;
    array->flags |= flag_inline_dims;
    refresh_scalar_double(array);
}

/// Everything that a change of dimensions needs, made before the header is touched.
class prepared_dims {
public:
    /// Allocates a block if dims needs one and, when reuse is given, its block is too short. Raises std::bad_alloc.
    explicit prepared_dims(dims_view dims, const ndArray_tag* reuse = nullptr)
        : dims_(without_trailing_ones(dims)) {
        if (dims_.size() > 2) make_block(reuse);
    }

    /// Stores the dimensions. The header's own block is freed unless it was to be reused.
    void commit_to(ndArray_tag* array) noexcept;

    /// Stores the dimensions in a header that has none yet.
    void commit_to_new(ndArray_tag* array) noexcept {
        if (dims_.size() > 2) {
            store_block(array);
        } else {
            const std::size_t m = dims_.empty() ? 0 : dims_[0];
            store_inline_dims(array, m, dims_.size() == 2 ? dims_[1] : dims_.size());
        }
    }

private:
    void make_block(const ndArray_tag* reuse);
    void store_block(ndArray_tag* array) noexcept;

    dims_view dims_;
    std::unique_ptr<std::size_t[]> block_;
};

} // namespace matrix::internal
