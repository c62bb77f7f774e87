// How a value becomes an element.
//
//   plain data           the header itself, with member scope; a shared copy when others own the header too
//   holds references     the same, and its containment record hangs from the container's
//   counted references   where container and value take part in cycle detection, the reference counter is told as well
//
// Everything that can fail comes before the slot is written. A copy that goes in for a value leaves the caller's reference to be
// dropped, which is the last step.
#include "matrix/slots.hpp"

#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing_rollback.hpp"

#include <nd/module.hpp>

#include <utility>

namespace matrix::internal {
namespace {

bool has_other_owners(const ndArray_tag* array) noexcept { return header_owners(array) > 1; }

// A value on its way into a slot: the header that was given, or a copy that goes in for it.
class candidate {
public:
    candidate(const ndArray_tag* container, ndArray_tag* given) noexcept
        : given_(given), gives_up_reference_(given != container || has_other_owners(given)) {}

    ndArray_tag* get() const noexcept { return copy_ ? copy_.get() : given_; }

    void replace(array_ptr copy) noexcept { copy_ = std::move(copy); }

    // What the slot owns from now on. A header that a copy stands in for loses the reference that was handed over, but for the
    // last one of the container itself: the slot would end with it.
    ndArray_tag* release() noexcept {
        if (!copy_) return given_;
        if (gives_up_reference_) destroyArray(given_);
        return copy_.release();
    }

private:
    ndArray_tag* given_;
    bool gives_up_reference_;
    array_ptr copy_;
};

// A container that goes into itself, or into slots that it shares, must not hold those slots once more.
bool has_same_slots(const ndArray_tag* container, const ndArray_tag* value) noexcept {
    return value->pdata != nullptr && value->pdata == container->pdata;
}

array_ptr copy_for(const ndArray_tag* container, const ndArray_tag* value) {
    return has_same_slots(container, value) ? detail::do_deep_copy(value) : share_or_copy(value);
}

void make_member(const ndArray_tag* container, candidate& value) {
    const ndArray_tag* const array = value.get();
    if (array->scope == ndMEMBER_SCOPE && (array->flags & flag_empty_square_bracket) == 0) return;
    if (has_other_owners(array)) value.replace(copy_for(container, array));
    set_scope(value.get(), ndMEMBER_SCOPE);
    value.get()->flags &= ~flag_empty_square_bracket;
}

candidate admitted(ndArray_tag* container, ndArray_tag* given) {
    candidate value(container, given);
    const bool holds_references = can_hold_references(given->class_id);
    if (holds_references) {
        if (has_same_slots(container, given) || (has_other_owners(given) && !is_rooted_in(given, container)))
            value.replace(copy_for(container, given));
        add_root_container(value.get(), container);
    }
    make_member(container, value);
    if (holds_references && value.get()->root_record != nullptr && !is_rooted_in(value.get(), container))
        add_root_container(value.get(), container);
    return value;
}

bool is_counted(const ndArray_tag* container, const ndArray_tag* value) noexcept {
    return value != nullptr && has_cycle_detection_contents(value) &&
           should_contain_internal_reference(container);
}

candidate admitted_and_counted(ndArray_tag* container, ndArray_tag* given) {
    candidate value(container, given);
    if (has_same_slots(container, given) || has_other_owners(given))
        value.replace(copy_for(container, given));
    add_root_container(value.get(), container);
    ObjectRefCountInterface::get()->add(value.get(), is_referenced_by_old_system(container));
    set_scope(value.get(), ndMEMBER_SCOPE);
    return value;
}

// What a slot stores for a value, whichever way it goes in: the collection list hears of the link before the slot has it.
ndArray_tag* stored_for(ndArray_tag* container, ndArray_tag* given, bool counted) {
    candidate value = counted ? admitted_and_counted(container, given) : admitted(container, given);
    note_link_on_gc_list(container, value.get());
    return value.release();
}

// Ends the slot's hold on a counted element. stand_in is there when others own the element too.
void release_counted(ndArray_tag* element, array_ptr stand_in) {
    if (stand_in == nullptr) {
        unroot_array(element);
        stand_in.reset(element);
    } else {
        destroyArray(element);
    }
    ObjectRefCountInterface::get()->release(stand_in.get());
}

} // namespace

void set_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value) {
    ndArray_tag*& place = slots_of(container)[slot];
    place = value == nullptr ? nullptr : stored_for(container, value, false);
}

void replace_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value) {
    ndArray_tag*& place = slots_of(container)[slot];
    ndArray_tag* const old = place;
    if (old == value && (old == nullptr || !has_other_owners(old))) return;
    const bool old_is_counted = is_counted(container, old);
    sharing_rollback shared;
    array_ptr stand_in; // the copy through which a counted element with other owners is released
    if (old_is_counted && has_other_owners(old)) {
        shared.note(old);
        stand_in = share_or_copy(old);
    }
    place = value == nullptr ? nullptr : stored_for(container, value, is_counted(container, value));
    shared.keep();
    if (old_is_counted) {
        release_counted(old, std::move(stand_in));
    } else {
        destroyArray(old);
    }
}

namespace {

// Puts value in with a reference of its own, which comes back when that fails.
template <class Put>
void with_own_reference(ndArray_tag* value, Put put) {
    if (value == nullptr) {
        put(nullptr);
        return;
    }
    const std::uint32_t reusable = value->flags & flag_reusable;
    intrusive_ptr_add_ref(value);
    try {
        put(value);
    } catch (...) {
        --value->ref_count;
        value->flags |= reusable;
        throw;
    }
}

} // namespace

void set_copy_in_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value) {
    with_own_reference(value, [=](ndArray_tag* owned) { set_slot(container, slot, owned); });
}

void replace_copy_in_slot(ndArray_tag* container, std::size_t slot, ndArray_tag* value) {
    if (value != nullptr && has_cycle_detection_contents(value)) {
        sharing_rollback shared;
        shared.note(value);
        array_ptr copy = copy_for(container, value);
        replace_slot(container, slot, copy.get());
        static_cast<void>(copy.release());
        shared.keep();
        return;
    }
    with_own_reference(value, [=](ndArray_tag* owned) { replace_slot(container, slot, owned); });
}

} // namespace matrix::internal
