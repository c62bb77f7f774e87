// One value into one element, without subscripts as arrays.
//
//   at once   one subscript into a real array of two dimensions, inside it or one past a row that keeps room to spare
//   else      the dimensions through which the subscripts see the array, one at a time; lists of them only where it grows
#include "indexing/growth.hpp"

#include "matrix/accessors.hpp"
#include "matrix/complexity.hpp"
#include "matrix/resize.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"
#include "matrix/size_limit.hpp"

#include <errors/raise.hpp>

#include <nd/assignment.hpp>
#include <nd/share.hpp>

#include <cstring>
#include <span>
#include <type_traits>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using subscript_list = std::span<const kvIndex>;

template <class T>
inline constexpr bool is_complex_value = false;
template <class T>
inline constexpr bool is_complex_value<std::complex<T>> = true;

// Elements don't lie as elements there.
constexpr std::uint32_t flags_of_other_storage = flag_sparse | flag_colon_object | flag_indexing_opaque;

// One bit for each class whose elements are values of so many bytes.
template <std::size_t Width>
inline constexpr std::uint32_t classes_of_width = [] {
    std::uint32_t classes = 0;
    for (const class_row& row : class_rows) {
        if (has_plain_elements(row.id) && row.real_size == Width) classes |= 1U << row.id;
    }
    return classes;
}();

// A value of another class is the caller's fault, but it reaches neither beyond the block nor into pointers.
template <class T>
bool is_as_wide(const ndArray_tag* array) noexcept {
    constexpr std::size_t parts = is_complex_value<T> ? 2 : 1;
    return (classes_of_width<sizeof(T) / parts> >> array->class_id & 1U) != 0;
}

// Whether a tracked block of so many elements has room for another one. A limit on sizes wants the full test.
bool has_room_behind(const ndArray_tag* array, std::size_t count) noexcept {
    return (array->flags & flag_capacity_tracked) != 0 && capacity_for(count) > count &&
           array_size_limit() == 0;
}

// The element's place, or null where it takes more than this.
template <class T>
T* place_at_once(ndArray_tag* array, subscript_list subs) noexcept {
    constexpr std::uint32_t tested = flag_inline_dims | flag_complex | flags_of_other_storage;
    if (subs.size() != 1 || (array->flags & tested) != flag_inline_dims || array->share_record != nullptr ||
        !is_as_wide<T>(array))
        return nullptr;
    const std::size_t count = array->m_or_dims * array->n_or_ndims;
    const std::size_t position = subs[0];
    if (position == count && array->m_or_dims == 1 && has_room_behind(array, count)) {
        array->n_or_ndims = count + 1;
    } else if (position >= count || count == 1 || array->pdata == nullptr) {
        return nullptr;
    }
    return static_cast<T*>(array->pdata) + position;
}

bool lies_within(const ndArray_tag* array, subscript_list subs) noexcept {
    const dims_view dims = dims_of(array);
    for (std::size_t i = 0; i < subs.size(); ++i) {
        if (subs[i] >= folded_dimension(dims, subs.size(), i)) return false;
    }
    return true;
}

void grow_to(ndArray_tag* array, subscript_list subs) {
    const dims_list old_seen = folded_dimensions(dims_of(array), subs.size());
    dims_list new_seen = old_seen;
    dims_list reach(subs.size());
    for (std::size_t i = 0; i < subs.size(); ++i) reach[i] = saturated_sum(subs[i], 1);
    grow_dimensions(dims_of(array), {reach.data(), reach.size()}, new_seen);
    grow_left_side(array, {{old_seen.data(), old_seen.size()}, {new_seen.data(), new_seen.size()}});
}

std::size_t offset_of(const ndArray_tag* array, subscript_list subs) noexcept {
    const dims_view dims = dims_of(array);
    std::size_t offset = 0;
    for (std::size_t i = subs.size(); i-- > 0;)
        offset = offset * folded_dimension(dims, subs.size(), i) + subs[i];
    return offset;
}

template <class T>
void put(ndArray_tag* array, std::size_t position, const T& value) noexcept {
    std::memcpy(static_cast<std::byte*>(array->pdata) + position * sizeof value, &value, sizeof value);
}

template <class T>
void store_real(ndArray_tag* array, std::size_t position, T value) {
    if (!is_complex(array)) return put(array, position, value);
    put(array, 2 * position, value);
    put(array, 2 * position + 1, T{});
    become_real_if_possible(array);
}

template <class T>
void store_complex(ndArray_tag* array, std::size_t position, const std::complex<T>& value) {
    if (!is_complex(array)) return put(array, position, value.real()); // the imaginary part is 0
    put(array, position, value);
    if (value.imag() == T{} || element_count(array) == 1) become_real_if_possible(array);
}

template <class T>
void store(ndArray_tag* array, subscript_list subs, const T& value) {
    const std::size_t position = offset_of(array, subs);
    if constexpr (is_complex_value<T>) {
        store_complex(array, position, value);
    } else {
        store_real(array, position, value);
    }
    if (array->class_id == ndDOUBLE_CLASS) refresh_scalar_double(array);
}

template <class T>
[[gnu::noinline]] void assign_fully(ndArray_tag* array, subscript_list subs, const T& value) {
    if ((array->flags & flags_of_other_storage) != 0 || !is_as_wide<T>(array))
        errors::raise<TARVEL::legacy_two_part::invalidInput>();
    if (subs.empty() && element_count(array) == 0) return;
    if (array->share_record != nullptr) array->interleave_data();
    const bool grows = !lies_within(array, subs);
    bool inflates = false;
    if constexpr (is_complex_value<T>) inflates = !is_complex(array) && value.imag() != 0;
    if (grows && inflates) {
        array_ptr copy = detail::do_deep_copy(array); // of two steps the second can fail
        grow_to(copy.get(), subs);
        inflate_to_complex(copy.get());
        store(copy.get(), subs, value);
        return api::ndMoveArrayOntoHeader(array, copy.release());
    }
    if (grows)
        grow_to(array, subs);
    else
        add_missing_block(array);
    if (inflates) inflate_to_complex(array);
    store(array, subs, value);
}

template <class T>
void assign(ndArray_tag* array, subscript_list subs, const T& value) {
    if constexpr (!is_complex_value<T>) {
        if (T* const place = place_at_once<T>(array, subs)) [[likely]] {
            std::memcpy(place, &value, sizeof value);
            return;
        }
    }
    assign_fully(array, subs, value);
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using internal::assign;

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   signed char value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   unsigned char value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, short value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   unsigned short value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, int value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   unsigned int value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, long long value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   unsigned long long value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, float value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, double value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, bool value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs, char16_t value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   const std::complex<float>& value) {
    assign(a, {subs, nsubs}, value);
}

void ndScalarSubscriptedAssignment(ndArray_tag* a, const kvIndex* subs, std::size_t nsubs,
                                   const std::complex<double>& value) {
    assign(a, {subs, nsubs}, value);
}

} // namespace matrix::detail::noninlined::nd_array_api
