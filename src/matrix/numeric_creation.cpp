// Which storage a new numeric, logical or char array gets, and the reuse of a dying value's data.
//
//   cache on, every dimension at most 16240, 1 to 16240 bytes   a pair of the thread's cache
//   otherwise                                                   size checks, then a header with a block of the exact size
//
// The cached way needs no size check: 16240 bytes are below the ceiling, and small cached arrays aren't held to the user's limit.
// No bytes at all take the plain way, since elements of size 0 can be too many, and so does a dimension above 16240 even when
// another one is 0.
#include "matrix/numeric_creation.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/size_check.hpp"

#include <array>
#include <optional>

namespace matrix::internal {
namespace {

/// Bytes of an array that may be cached; nothing when it takes the plain way.
std::optional<std::size_t> cacheable_bytes(dims_view dims, NdArrayTypeId code) noexcept {
    if (dims.empty()) return std::nullopt;
    std::size_t bytes = element_size(code);
    for (const std::size_t dim : dims) {
        if (dim > largest_cached_block || bytes * dim > largest_cached_block) return std::nullopt;
        bytes *= dim;
    }
    return bytes;
}

array_ptr create_plain(dims_view dims, NdArrayTypeId code, DataInitialization init) {
    const std::size_t count = checked_element_count(dims, element_size(code));
    return header_factory::make(code, dims, count * element_size(code), init);
}

// A view of the array stands in the place of its data: what is written to the block would never be read.
bool is_split(const ndArray_tag* array) {
    const scaffolding* const view = view_of(array);
    return view != nullptr && view->is_split;
}

// Data fit when they are as long as needed, or when both would have been allocated with the same spare room.
bool fits(const ndArray_tag* candidate, NdArrayTypeId code, std::size_t needed, std::size_t capacity) {
    // Slots of containers and what isn't the candidate's own aren't plain memory to be lent, whatever their element size.
    if ((candidate->flags & flag_reusable) == 0 || (candidate->flags & flag_data_private) != 0) return false;
    if (has_borrowed_data(candidate) || is_split(candidate)) return false;
    if (needed != 0 && candidate->pdata == nullptr) return false;
    if (!has_plain_elements(candidate->class_id) || !has_plain_elements(class_of(code))) return false;
    if (stored_element_size(candidate) != element_size(code)) return false;
    complete_dimensions_if_opaque(candidate);
    const std::size_t count = element_count(candidate);
    if (count * element_size(code) == needed) return true;
    return (candidate->flags & flag_capacity_tracked) != 0 && capacity_for(count) == capacity;
}

array_ptr take_over_data(ndArray_tag* candidate, dims_view dims, NdArrayTypeId code) {
    array_ptr array = header_factory::make(code, dims, 0, DataInitialization::uninitialized);
    share_data_to(candidate, array.get());
    array->flags = (array->flags & ~flag_cached_header) | (candidate->flags & flag_capacity_tracked);
    array->pdata = candidate->pdata;
    return array;
}

} // namespace

array_ptr create_numeric(dims_view dims, NdArrayTypeId code, DataInitialization init) {
    // Undefined bytes can't stand for references: such an array couldn't be destroyed.
    if (can_hold_references(class_of(code))) init = DataInitialization::zeroed;
    if (cache_is_enabled()) {
        const std::optional<std::size_t> bytes = cacheable_bytes(dims, code);
        if (bytes && *bytes != 0) return take_pair(code, dims, *bytes, init);
    }
    return create_plain(dims, code, init);
}

ndArray_tag* create_plain_matrix(std::size_t m, std::size_t n, NdArrayTypeId code, DataInitialization init) {
    const std::array dims{m, n};
    const std::size_t count = checked_element_count(dims, element_size(code));
    return header_factory::make_matrix(code, m, n, count * element_size(code), init);
}

array_ptr create_with_reuse(dims_view dims, NdArrayTypeId code, std::span<ndArray_tag* const> candidates) {
    const std::size_t count = checked_element_count(dims, element_size(code));
    const std::size_t needed = count * element_size(code);
    for (ndArray_tag* const candidate : candidates) {
        if (fits(candidate, code, needed, capacity_for(count))) return take_over_data(candidate, dims, code);
    }
    const bool references = can_hold_references(class_of(code));
    return header_factory::make(code, dims, needed,
                                references ? DataInitialization::zeroed : DataInitialization::uninitialized);
}

} // namespace matrix::internal

namespace matrix::detail {

using internal::DataInitialization;

array_ptr do_create_numeric(std::span<const std::size_t> dims, internal::NdArrayTypeId code) {
    return internal::create_numeric(dims, code, DataInitialization::zeroed);
}

array_ptr do_create_uninitnumeric(std::span<const std::size_t> dims, internal::NdArrayTypeId code) {
    return internal::create_numeric(dims, code, DataInitialization::uninitialized);
}

array_ptr do_create_char(std::span<const std::size_t> dims) {
    return internal::create_numeric(dims, internal::code_of(ndCHAR_CLASS, false), DataInitialization::zeroed);
}

// Slots are never cached: a bin takes back plain elements only.
array_ptr do_create_cell(std::span<const std::size_t> dims) {
    return internal::create_plain(dims, internal::code_of(ndCELL_CLASS, false), DataInitialization::zeroed);
}

} // namespace matrix::detail
