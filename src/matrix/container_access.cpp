// Slots and fields as the interface offers them: the plain forms, which trust their caller, and those of the C interface.
#include "matrix/fields.hpp"
#include "matrix/frame.hpp"
#include "matrix/module_state.hpp"
#include "matrix/slots.hpp"

#include "errors/raise.hpp"

#include <nd/containers.hpp>
#include <nd/names.hpp>

#include <new>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

// For the number -1 of a field that isn't there: the slot before the element's.
std::size_t slot_of(const ndArray_tag* array, kvIndex element, int field) {
    return field_slot(array, element, static_cast<std::size_t>(std::ptrdiff_t{field}));
}

} // namespace

ndArray_tag* ndGetCell(const ndArray_tag* cell, kvIndex index) { return slots_of(cell)[index]; }

void ndSetCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value) { set_slot(cell, index, value); }

void ndReplaceCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value) { replace_slot(cell, index, value); }

void ndSetCopyInCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value) {
    set_copy_in_slot(cell, index, value);
}

void ndReplaceCopyInCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value) {
    replace_copy_in_slot(cell, index, value);
}

ndArray_tag** ndGetCells(const ndArray_tag* array) { return slots_of(array); }
ndArray_tag** ndGetFields(const ndArray_tag* array) { return slots_of(array); }

void ndSetCells(ndArray_tag* array, ndArray_tag** buffer) { array->set_pdata_untrusted(buffer, nullptr); }
void ndSetFields(ndArray_tag* array, ndArray_tag** buffer) { array->set_pdata_untrusted(buffer, nullptr); }

ndArray_tag* ndGetField(const ndArray_tag* array, kvIndex index, const char* name) {
    const std::int32_t number = field_number(array, name);
    return number < 0 ? nullptr : ndGetFieldByNumber(array, index, number);
}

ndArray_tag* ndGetFieldByNumber(const ndArray_tag* array, kvIndex index, int number) {
    return slots_of(array)[slot_of(array, index, number)];
}

void ndSetField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value) {
    ndSetFieldByNumber(array, index, field_number(array, name), value);
}

void ndSetFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value) {
    set_slot(array, slot_of(array, index, number), value);
}

void ndReplaceField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value) {
    ndReplaceFieldByNumber(array, index, field_number(array, name), value);
}

void ndReplaceFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value) {
    replace_slot(array, slot_of(array, index, number), value);
}

int ndGetFieldNumber(const ndArray_tag* array, const char* name) { return field_number(array, name); }

const char* ndGetFieldNameByNumber(const ndArray_tag* array, int number) {
    return number >= 0 && number < ndGetNumberOfFields(array) ? ndGetFieldNames(array)[number] : nullptr;
}

const char* const* ndGetFieldNames(const ndArray_tag* array) { return array->get_struct_field_names(); }

std::int32_t ndGetNumberOfFields(const ndArray_tag* array) { return array->get_number_of_struct_fields(); }

int ndAddField(ndArray_tag* array, const char* name) {
    return is_struct_like(array->class_id) ? add_field(array, name) : -1;
}

int ndAddFieldToStruct(ndArray_tag* array, const char* name) {
    if (!ndIsValidRecName(name))
        errors::raise<TARVEL::AddField::InvalidFieldName>(name == nullptr ? "" : name);
    const int number = ndAddField(array, name);
    if (number < 0) errors::raise<TARVEL::legacy_two_part::nomem>();
    return number;
}

void ndRemoveField(ndArray_tag* array, int number) { remove_field(array, number); }

namespace published {
namespace {

// Dimensions can be set that the block doesn't have: what has no slots at all is seen here.
bool has_slot(const ndArray_tag* array, kvIndex index) noexcept {
    return array != nullptr && is_container_class(array->class_id) && array->pdata != nullptr &&
           index < slot_count(array);
}

bool has_element(const ndArray_tag* array, kvIndex index) noexcept {
    return array != nullptr && is_struct_like(array->class_id) && array->pdata != nullptr &&
           index < element_count(array);
}

bool has_value(const ndArray_tag* array, kvIndex index, int number) noexcept {
    return has_element(array, index) && number >= 0 && static_cast<std::size_t>(number) < field_count(array);
}

} // namespace

ndArray_tag* ndGetCell(const ndArray_tag* cell, kvIndex index) {
    return has_slot(cell, index) ? nd_array_api::ndGetCell(cell, index) : nullptr;
}

void ndSetCell(ndArray_tag* cell, kvIndex index, ndArray_tag* value) {
    if (has_slot(cell, index)) framed([=] { set_slot(cell, index, value); });
}

ndArray_tag* ndGetField(const ndArray_tag* array, kvIndex index, const char* name) {
    if (!has_element(array, index) || name == nullptr) return nullptr;
    return framed([=]() -> ndArray_tag* {
        const std::int32_t number = find_name(names_of(array), name);
        return number < 0 ? nullptr : slots_of(array)[slot_of(array, index, number)];
    });
}

ndArray_tag* ndGetFieldByNumber(const ndArray_tag* array, kvIndex index, int number) {
    return has_value(array, index, number) ? nd_array_api::ndGetFieldByNumber(array, index, number) : nullptr;
}

void ndSetField(ndArray_tag* array, kvIndex index, const char* name, ndArray_tag* value) {
    if (!has_element(array, index) || name == nullptr) return;
    framed([=] { published::ndSetFieldByNumber(array, index, field_number(array, name), value); });
}

void ndSetFieldByNumber(ndArray_tag* array, kvIndex index, int number, ndArray_tag* value) {
    if (has_value(array, index, number))
        framed([=] { nd_array_api::ndSetFieldByNumber(array, index, number, value); });
}

int ndAddField(ndArray_tag* array, const char* name) {
    if (array == nullptr || name == nullptr) return -1;
    try {
        return nd_array_api::ndAddField(array, name);
    } catch (...) {
        if (errors_leave_as_exceptions()) throw;
        return -1;
    }
}

void ndRemoveField(ndArray_tag* array, int number) {
    if (array != nullptr) framed([=] { remove_field(array, number); });
}

int ndGetFieldNumber(const ndArray_tag* array, const char* name) {
    if (array == nullptr || name == nullptr) return -1;
    try {
        return field_number(array, name);
    } catch (const std::bad_alloc&) {
        if (errors_leave_as_exceptions()) throw;
        return -1;
    }
}

const char* ndGetFieldNameByNumber(const ndArray_tag* array, int number) {
    return array == nullptr ? nullptr : nd_array_api::ndGetFieldNameByNumber(array, number);
}

std::int32_t ndGetNumberOfFields(const ndArray_tag* array) {
    return array == nullptr ? 0 : nd_array_api::ndGetNumberOfFields(array);
}

} // namespace published
} // namespace matrix::detail::noninlined::nd_array_api

std::int32_t ndArray_tag::get_number_of_struct_fields() const noexcept {
    using namespace matrix::internal;
    return is_struct_like(class_id) ? static_cast<std::int32_t>(field_count(this)) : 0;
}

const char* const* ndArray_tag::get_struct_field_names() const noexcept {
    const auto* const set = matrix::internal::names_of(this);
    return set == nullptr ? nullptr : set->names();
}
