// The steps that change a left side. What can fail is prepared before the first of them.
#include "indexing/changed_array.hpp"

#include "indexing/element_store.hpp"
#include "indexing/element_walk.hpp"
#include "indexing/new_elements.hpp"

#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/complexity.hpp"
#include "matrix/containers.hpp"
#include "matrix/resize.hpp"
#include "matrix/root_record.hpp"
#include "matrix/slots.hpp"

#include <errors/raise.hpp>

#include <nd/share.hpp>

#include <optional>
#include <span>
#include <unordered_set>
#include <utility>
#include <vector>

namespace matrix::internal {
namespace {

constexpr std::size_t inline_slots = 10; // of which a walk needs no memory

// Elements that other parts of the process keep count of go one by one, each with its count. A single element of rhs goes to all places.
void replace_counted_slots(ndArray_tag* target, const fitted_subscripts& fitted, const ndArray_tag* rhs) {
    ndArray_tag* const* const from = slots_of(rhs);
    const std::size_t count = from == nullptr ? 1 : slot_count(rhs);
    std::size_t next = 0;
    auto* const data = static_cast<std::byte*>(target->pdata);
    walk_elements(data, fitted.new_seen(), fitted.set(), sizeof(ndArray_tag*),
                  [&](const position_run& run, std::byte* base) {
                      const std::size_t start = static_cast<std::size_t>(base - data) / sizeof(ndArray_tag*);
                      return walk_run(run, [&](std::size_t offset) {
                          replace_copy_in_slot(target, start + offset,
                                               from == nullptr ? nullptr : from[next]);
                          if (++next == count) next = 0;
                      });
                  });
}

// What is assigned to an element of a value, or filled with it, would hold itself. Blocks that headers share are walked once.
bool holds(const ndArray_tag* container, const ndArray_tag* lhs) {
    if (lhs->scope != ndMEMBER_SCOPE && lhs->scope != ndPROPERTY_SCOPE) return false;
    std::vector<const ndArray_tag*> waiting{container};
    std::unordered_set<const void*> shared;
    while (!waiting.empty()) {
        const ndArray_tag* const array = waiting.back();
        waiting.pop_back();
        if (array->pdata == nullptr || !is_container_class(array->class_id)) continue;
        if (array->share_record != nullptr && !shared.insert(array->pdata).second) continue;
        for (const ndArray_tag* const element : std::span(slots_of(array), slot_count(array))) {
            if (element == lhs) return true;
            if (element != nullptr && is_container_class(element->class_id)) waiting.push_back(element);
        }
    }
    return false;
}

array_ptr copy_if_it_holds(const ndArray_tag* lhs, const ndArray_tag* value) {
    return holds(value, lhs) ? detail::do_deep_copy(value) : nullptr;
}

} // namespace

void changed_array::use_copy() {
    if (!is_container_class(array_->class_id)) return replace(detail::do_deep_copy(array_));
    if (array_ == lhs_) shared_.note_elements(lhs_); // those of a replacement end with it
    replace(shallow_copy(array_));
}

void changed_array::finish() noexcept {
    shared_.keep();
    if (replacement_) detail::noninlined::nd_array_api::ndMoveArrayOntoHeader(lhs_, replacement_.release());
}

void change_elements(changed_array& changed, const fitted_subscripts& fitted, const ndArray_tag* rhs,
                     bool store, array_ptr new_element) {
    const bool grows = fitted.reaches_beyond();
    if (grows)
        checked_growth(changed.get(), fitted.growth()); // before copies for so many places are asked for
    const array_ptr apart = store ? copy_if_it_holds(changed.left_side(), rhs) : nullptr;
    if (apart) rhs = apart.get();
    if (new_element) {
        if (array_ptr other = copy_if_it_holds(changed.left_side(), new_element.get()))
            new_element = std::move(other);
    }
    const bool inflates = store && is_complex(rhs) && !is_complex(changed.get());
    const bool counted = store && is_container_class(changed.get()->class_id) &&
                         should_contain_internal_reference(changed.left_side());
    const bool walk_may_fail = store && fitted.set().count > inline_slots;
    if (counted || (grows && inflates) || (walk_may_fail && (grows || inflates))) changed.use_copy();
    ndArray_tag* const array = changed.get();
    std::optional<element_store> elements;
    if (store && !counted) elements.emplace(array, rhs, fitted.selected_count(), grows);
    if (grows)
        grow_with_filler(array, fitted.growth(), std::move(new_element));
    else
        add_missing_block(array);
    if (inflates) inflate_to_complex(array);
    if (counted) replace_counted_slots(array, fitted, rhs);
    if (elements && !elements->store_into(array, fitted.new_seen(), fitted.set()))
        errors::raise<TARVEL::legacy_two_part::nomem>();
}

} // namespace matrix::internal
