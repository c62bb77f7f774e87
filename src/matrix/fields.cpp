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

// The values of one field, each on the way from member to temporary. Gives them their scopes back unless all have got there.
// A value that others own as well may stand in another slot, and a list ends what stands on it whoever else owns it: such a value
// stays a member. Only the slot's reference goes: to the caller where no lists are kept, and otherwise it is dropped. Where all
// owners are slots of the field itself, the value is a temporary like any other, with the reference of one of them.
class released_values {
public:
    released_values(ndArray_tag* array, std::size_t field, std::size_t fields) noexcept
        : slots_(array->pdata == nullptr ? nullptr : slots_of(array) + field),
          fields_(fields),
          elements_(slots_ == nullptr ? 0 : element_count(array)) {}

    // Whatever can fail: the rest is drop_shared().
    void release() {
        for (std::size_t i = 0; i < elements_; ++i) {
            ndArray_tag* const value = slots_[i * fields_];
            if (value == nullptr) continue;
            if (header_owners(value) == 1) {
                make_temporary(value);
            } else if (the_module.array_lists) {
                shared_.push_back(value);
            }
        }
        release_those_of_this_field_alone();
        complete_ = true;
    }

    // After release(), before the slots are closed up.
    void drop_shared() noexcept {
        for (ndArray_tag* const value : shared_) {
            if (value != nullptr) destroyArray(value);
        }
    }

    ~released_values() {
        if (complete_) return;
        for (const auto& [value, scope] : changed_) set_scope(value, scope);
    }

private:
    static constexpr std::size_t inline_values = 8;

    struct change {
        ndArray_tag* value;
        ndVariableScope scope; // before
    };

    void make_temporary(ndArray_tag* value) {
        changed_.push_back({value, static_cast<ndVariableScope>(value->scope)});
        set_scope(value, ndTEMPORARY_SCOPE);
    }

    void release_those_of_this_field_alone() {
        std::sort(shared_.begin(), shared_.end());
        for (auto value = shared_.begin(); value != shared_.end();) {
            const auto next = std::upper_bound(value, shared_.end(), *value);
            if (header_owners(*value) == static_cast<std::uint64_t>(next - value)) {
                make_temporary(*value);
                *value = nullptr; // the reference that stays
            }
            value = next;
        }
    }

    ndArray_tag** slots_;
    std::size_t fields_;
    std::size_t elements_;
    boost::container::small_vector<change, inline_values> changed_;
    boost::container::small_vector<ndArray_tag*, inline_values> shared_; // one for each slot
    bool complete_ = false;
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
