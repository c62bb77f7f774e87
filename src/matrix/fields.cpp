// Adding and removing fields.
//
// The slots of a struct are an array of (fields, dimensions...): a field more is a growth of the first of these, a field less
// closes the gaps in place. What can fail comes first, name set before slots; then both are committed together.
#include "matrix/fields.hpp"

#include "matrix/accessors.hpp"
#include "matrix/module_state.hpp"
#include "matrix/resize.hpp"
#include "matrix/scope.hpp"
#include "matrix/size_check.hpp"

#include <nd/create.hpp>

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <new>
#include <optional>

namespace matrix::internal {
namespace {

constexpr std::size_t inline_dims = 8;
using slot_dims = boost::container::small_vector<std::size_t, inline_dims>;

slot_dims with_fields(const ndArray_tag* array, std::size_t fields) {
    const dims_view dims = dims_of(array);
    slot_dims all;
    all.reserve(dims.size() + 1);
    all.push_back(fields);
    all.insert(all.end(), dims.begin(), dims.end());
    return all;
}

void widen_slots(ndArray_tag* array, std::size_t old_fields) {
    const std::size_t elements = element_count(array);
    if (elements == 0) return;
    checked_element_count(dims_of(array), (old_fields + 1) * sizeof(ndArray_tag*));
    const slot_dims old_dims = with_fields(array, old_fields);
    const slot_dims new_dims = with_fields(array, old_fields + 1);
    grow_data(array, {{old_dims.data(), old_dims.size()},
                      old_fields * elements,
                      {new_dims.data(), new_dims.size()},
                      (old_fields + 1) * elements});
}

// The values of one field, each on the way from member to temporary. Gives them their scope back unless all have got there.
// A value that others own as well may stand in another slot, and a list ends what stands on it whoever else owns it: such a value
// stays a member. Only the slot's reference goes: to the caller where no lists are kept, and otherwise it is dropped.
class released_values {
public:
    released_values(ndArray_tag* array, std::size_t field, std::size_t fields) noexcept
        : slots_(array->pdata == nullptr ? nullptr : slots_of(array) + field),
          fields_(fields),
          elements_(slots_ == nullptr ? 0 : element_count(array)) {}

    void release() {
        for (; done_ < elements_; ++done_) {
            ndArray_tag* const value = at(done_);
            if (value != nullptr && header_owners(value) == 1) set_scope(value, ndTEMPORARY_SCOPE);
        }
    }

    // After release(), before the slots are closed up.
    void drop_shared() noexcept {
        if (!the_module.array_lists) return;
        for (std::size_t i = 0; i < elements_; ++i) {
            ndArray_tag* const value = at(i);
            if (value != nullptr && value->scope == ndMEMBER_SCOPE) drop(value);
        }
    }

    ~released_values() {
        if (done_ == elements_) return;
        while (done_-- > 0) {
            ndArray_tag* const value = at(done_);
            if (value != nullptr && value->scope != ndMEMBER_SCOPE) set_scope(value, ndMEMBER_SCOPE);
        }
    }

private:
    ndArray_tag* at(std::size_t element) const noexcept { return slots_[element * fields_]; }

    // All other owners may have been slots of this field: the last of them leaves a temporary like any other.
    static void drop(ndArray_tag* value) noexcept {
        if (header_owners(value) == 1) {
            try {
                set_scope(value, ndTEMPORARY_SCOPE);
                return;
            } catch (const std::bad_alloc&) { // without a place on the list it ends now
            }
        }
        destroyArray(value);
    }

    ndArray_tag** slots_;
    std::size_t fields_;
    std::size_t elements_;
    std::size_t done_ = 0;
};

void close_gaps(ndArray_tag* array, std::size_t field, std::size_t fields) noexcept {
    ndArray_tag** const slots = slots_of(array);
    const std::size_t count = element_count(array) * fields;
    ndArray_tag** end = slots + field;
    for (std::size_t gap = field; gap < count; gap += fields) {
        const std::size_t next = std::min(gap + fields, count);
        end = std::copy(slots + gap + 1, slots + next, end);
    }
}

} // namespace

std::int32_t field_number(const ndArray_tag* array, const char* name) {
    return is_struct_like(array->class_id) ? find_name(names_of(array), name) : -1;
}

std::int32_t add_field(ndArray_tag* array, const char* name) {
    const std::int32_t existing = field_number(array, name);
    if (existing >= 0) return existing;
    const std::size_t fields = field_count(array);
    held_names names(array);
    std::optional<name_addition> addition;
    try {
        addition.emplace(names.set(), name);
    } catch (const std::bad_alloc&) {
        return -1;
    }
    widen_slots(array, fields);
    addition->commit();
    return static_cast<std::int32_t>(fields);
}

void remove_field(ndArray_tag* array, std::int32_t number) {
    if (!is_struct_like(array->class_id) || number < 0) return;
    const std::size_t fields = field_count(array);
    const auto field = static_cast<std::size_t>(number);
    if (field >= fields) return;
    held_names names(array);
    name_removal removal(names.set(), number);
    released_values values(array, field, fields);
    values.release();
    removal.commit();
    values.drop_shared();
    if (array->pdata == nullptr) return;
    close_gaps(array, field, fields);
    shrink_data(array, element_count(array) * (fields - 1) * sizeof(ndArray_tag*));
}

} // namespace matrix::internal
