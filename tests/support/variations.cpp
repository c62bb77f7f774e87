// The table of representations. Each row starts from a deep copy, so that the value given stays as it is.
#include "support/variations.hpp"

#include "matrix/cell_to_struct.hpp"
#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/colon.hpp>
#include <nd/containers.hpp>
#include <nd/sizes.hpp>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::dims_of;
using matrix::internal::element_count;

representation alone(array_ptr value) {
    representation made;
    made.value = std::move(value);
    return made;
}

array_ptr own_copy(const ndArray_tag* value) { return matrix::detail::do_deep_copy(value); }

bool has_data(const ndArray_tag* value) { return value->pdata != nullptr; }

// Plain bytes or slots: what a test may move to another block.
bool has_movable_data(const ndArray_tag* value) {
    return has_data(value) && (matrix::internal::has_plain_elements(value->class_id) ||
                               matrix::internal::is_container_class(value->class_id));
}

bool is_sparse(const ndArray_tag* value) { return (value->flags & matrix::flag_sparse) != 0; }

// What a block consists of: slots in a container, elements otherwise.
std::size_t unit_count(const ndArray_tag* value) {
    if (is_sparse(value)) return value->info_c;
    return matrix::internal::is_container_class(value->class_id) ? matrix::internal::slot_count(value)
                                                                 : element_count(value);
}

std::size_t unit_bytes(const ndArray_tag* value) {
    const bool complex = (value->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
    return matrix::internal::element_size(matrix::internal::code_of(value->class_id, complex));
}

const auto& heap() { return foundation::core::mem::aligned_heap_instance(); }

void free_on_heap(void* block) { heap().free(block); }

// Moves the array's data to a fresh block with room for capacity elements or slots.
void replace_block(ndArray_tag* array, std::size_t capacity, void (*deleter)(void*)) {
    const std::size_t size = unit_bytes(array);
    void* const block = heap().calloc(capacity, size);
    if (block == nullptr) throw std::bad_alloc{};
    std::memcpy(block, array->pdata, unit_count(array) * size);
    void* const old = array->pdata;
    array->set_pdata_and_deleter(block, deleter);
    heap().free(old);
}

representation own_block(const ndArray_tag* value) { return alone(own_copy(value)); }

representation shared_block(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    made.sharers.push_back(matrix::detail::do_shared_copy(made.value.get()));
    return made;
}

representation second_sharer(const ndArray_tag* value) {
    representation made = shared_block(value);
    made.value.swap(made.sharers.front());
    return made;
}

// The shared-data bit stays behind when the others have left.
representation once_shared(const ndArray_tag* value) {
    representation made = shared_block(value);
    made.sharers.clear();
    return made;
}

representation custom_deleter(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    replace_block(made.value.get(), unit_count(made.value.get()), free_on_heap);
    return made;
}

// Growth in place is for full arrays.
bool may_have_capacity(const ndArray_tag* value) { return has_movable_data(value) && !is_sparse(value); }

representation capacity_tracked(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    ndArray_tag* const array = made.value.get();
    replace_block(array, matrix::detail::noninlined::nd_array_api::ndGetCapacity(unit_count(array)), nullptr);
    array->flags |= matrix::flag_capacity_tracked;
    return made;
}

// Room behind the last stored value, and what lies there says nothing.
representation sparse_with_slack(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    ndArray_tag* const array = made.value.get();
    const std::size_t room = array->info_c + 3;
    replace_block(array, room, nullptr);
    auto* const rows = static_cast<std::uint64_t*>(heap().malloc(room * sizeof(std::uint64_t)));
    if (rows == nullptr) throw std::bad_alloc{};
    std::fill_n(rows, room, ~std::uint64_t{0});
    auto* const old = std::bit_cast<std::uint64_t*>(array->info_a);
    std::copy_n(old, array->info_c, rows);
    heap().free(old);
    array->info_a = std::bit_cast<std::uint64_t>(rows);
    array->info_c = room;
    return made;
}

representation header_owned_twice(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    made.other_owners.emplace_back(
        matrix::detail::noninlined::nd_array_api::ndCreateReference(made.value.get()));
    return made;
}

// Had more dimensions before: a block of dimensions keeps its length, inline ones come back from out of line.
representation once_had_more_dims(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    const auto own = dims_of(made.value.get());
    const std::vector<std::size_t> dims(own.begin(), own.end());
    std::vector<std::size_t> more(dims);
    more.insert(more.end(), 3, 2);
    made.value->set_dimensions(more);
    made.value->set_dimensions(dims);
    return made;
}

representation with_user_bits(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    made.value->flags |= 0xA5U << matrix::flag_user_shift;
    return made;
}

bool has_fields(const ndArray_tag* value) {
    return matrix::internal::is_struct_like(value->class_id) && matrix::internal::field_count(value) != 0;
}

// Another header with the same fields: a struct without elements, whose names are a count on the same set.
representation shared_names(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    made.bystanders.push_back(matrix::detail::do_create_struct(std::vector<std::size_t>{0, 0}, {}));
    matrix::internal::copy_struct_info(made.value.get(), made.bystanders.back().get());
    return made;
}

// A set that no other header has: a copy always begins with the source's.
representation own_names(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    const matrix::internal::name_index_info* const set = matrix::internal::names_of(value);
    const std::vector<const char*> names(set->names(), set->names() + set->count);
    matrix::internal::take_names(made.value.get());
    matrix::internal::put_names(made.value.get(), matrix::internal::make_name_set(names));
    return made;
}

bool has_cell_or_fields(const ndArray_tag* value) {
    return has_data(value) && (value->class_id == ndCELL_CLASS || has_fields(value));
}

// The slots of a cell under the name of a struct, or the other way round: a sharer that counts them differently.
representation shared_with_another_class(const ndArray_tag* value) {
    representation made = alone(own_copy(value));
    const ndArray_tag* const array = made.value.get();
    if (array->class_id != ndCELL_CLASS) {
        made.bystanders.push_back(matrix::internal::struct_to_cell(array));
        return made;
    }
    const auto fields = dims_of(array)[0];
    const array_ptr names = matrix::create_cell(std::vector<std::size_t>{1, fields});
    for (std::size_t i = 0; i < fields; ++i) {
        array_ptr name = arr("char", u"f" + std::u16string(1 + i, u'i'));
        matrix::detail::noninlined::nd_array_api::ndSetCell(names.get(), i, name.release());
    }
    made.bystanders.push_back(matrix::cell_to_struct(array, names.get(), 1));
    return made;
}

// start and step as the first elements have them; whether the others follow is for the expansion to tell.
template <class T>
array_ptr range_like(const ndArray_tag* value) {
    const auto* const elements = static_cast<const T*>(value->pdata);
    const std::size_t count = element_count(value);
    const auto id = static_cast<ndClassID>(value->class_id);
    const T first = elements[0];
    const T last = elements[count - 1];
    const auto at = [](T x) { return static_cast<double>(x); };
    const double step = count == 1 ? 1.0 : at(elements[1]) - at(first);
    if constexpr (sizeof(T) == sizeof(long long) && std::is_integral_v<T>) {
        using operand = std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>;
        return matrix::create_int_colon_object(operand{first}, step, operand{last}, id);
    } else {
        return matrix::create_colon_object(at(first), step, at(last), id);
    }
}

bool always(const ndArray_tag*) { return true; }

constexpr variation table[] = {
    {"own block", always, own_block},
    {"shared block", has_data, shared_block},
    {"shared block, the copy of it", has_data, second_sharer},
    {"block that was shared once", has_data, once_shared},
    {"block with a custom deleter", has_movable_data, custom_deleter},
    {"block of tracked capacity", may_have_capacity, capacity_tracked},
    {"sparse array with slack", is_sparse, sparse_with_slack},
    {"header with two owners", always, header_owned_twice},
    {"header that had more dimensions", always, once_had_more_dims},
    {"header with user bits", always, with_user_bits},
    {"field names that another header has too", has_fields, shared_names},
    {"field names of its own", has_fields, own_names},
    {"slots that cell and struct have", has_cell_or_fields, shared_with_another_class},
};

} // namespace

std::span<const variation> all_variations() { return table; }

array_ptr as_colon_object(const ndArray_tag* value) {
    constexpr std::uint32_t other_storage = matrix::flag_sparse | matrix::flag_colon_object;
    if (!has_data(value) || element_count(value) == 0 || (value->flags & other_storage) != 0) return nullptr;
    if (value->class_id == ndLOGICAL_CLASS || !matrix::internal::has_plain_elements(value->class_id))
        return nullptr;
    array_ptr object;
    matrix::internal::with_element_type(
        value->class_id, [&]<class Row>(Row) { object = range_like<typename Row::type>(value); });
    // Counted first: two elements and a far last one may make a range that is too long to expand.
    const bool alike =
        object != nullptr &&
        matrix::detail::noninlined::nd_array_api::ndCountColonObj(object.get()) == element_count(value) &&
        same_value(matrix::expand_colon_object(object.get()).get(), value);
    return alike ? std::move(object) : nullptr;
}

void for_each_variation_of_value(const ndArray_tag* value, const variation_body& body) {
    for_each_variation(value, body);
    array_ptr object = as_colon_object(value);
    if (!object) return;
    SCOPED_TRACE("representation: colon object");
    body(object);
}

void for_each_variation(const ndArray_tag* value, const variation_body& body) {
    for (const variation& row : all_variations()) {
        if (!row.applies(value)) continue;
        SCOPED_TRACE(std::string("representation: ") + row.name);
        representation made = row.make(value);
        ASSERT_THAT(made.value, EqualsArray(value));
        body(made.value);
        for (const array_ptr& sharer : made.sharers) EXPECT_THAT(sharer, EqualsArray(value));
    }
}

} // namespace test
