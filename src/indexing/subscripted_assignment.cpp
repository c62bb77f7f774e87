// lhs(subs) = rhs, in this order:
//
//   way        structs go theirs; a sparse left side and a colon object become full and come back at the end
//   fit        subscripts against the right-hand side and the left side: nothing changes yet
//   give way   a left side that does is replaced by an empty array of the right-hand side's class, which moves onto the header
//   prepare    whatever can fail: references to elements, the value of new elements
//   change     growth, complexity, store
//
// A change of several steps that can fail is made on a copy, so that the left side changes at once or not at all.
#include "indexing/assignment_source.hpp"
#include "indexing/coverage.hpp"
#include "indexing/element_store.hpp"
#include "indexing/element_walk.hpp"
#include "indexing/new_elements.hpp"
#include "indexing/quick_assignment.hpp"
#include "indexing/structure_assignment.hpp"

#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/complexity.hpp"
#include "matrix/containers.hpp"
#include "matrix/opaque_assignment.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"
#include "matrix/slots.hpp"
#include "matrix/sparse_parts.hpp"

#include <errors/raise.hpp>
#include <foundation/core/diag/diag.hpp>

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/convert.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>
#include <nd/structures.hpp>

#include <algorithm>
#include <new>
#include <optional>
#include <span>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::engine::RHSInfo;
using Korvane::indexing::utilities::BadSubscriptHandler;
using subscript_list = std::span<const ndArray_tag* const>;
using filler_function = std::function<array_ptr(const ndArray_tag*)>;

bool is_indexing_opaque(const ndArray_tag* array) noexcept {
    return (array->flags & flag_indexing_opaque) != 0;
}

// Whether its class wants lists of positions.
bool wants_lists(const ndArray_tag* array) noexcept {
    return array->class_id == ndFUNCTION_CLASS || array->class_id == ndOPAQUE_CLASS ||
           is_indexing_opaque(array);
}

bool is_nothing(const ndArray_tag* lhs) noexcept {
    return lhs->class_id == ndUNKNOWN_CLASS && element_count(lhs) == 0;
}

// The subscripts of an assignment against both sides.
class fitted_subscripts {
public:
    fitted_subscripts(const ndArray_tag* lhs, subscript_list subs, const ndArray_tag* rhs)
        : lhs_(lhs),
          rhs_(rhs),
          lhs_dims_(gives_way(lhs) ? dims_view(nothing) : dims_of(lhs)),
          all_zero_(counts_as_all_zero(subs)),
          old_seen_(all_zero_ ? dims_list(subs.size()) : folded_dimensions(lhs_dims_, subs.size())),
          new_seen_(old_seen_),
          set_(subs.size(), RHSInfo{dims_of(rhs).data(), dims_of(rhs).size(), is_indexing_opaque(rhs)},
               !wants_lists(lhs) && !wants_lists(rhs), false),
          copy_needed_(element_count(rhs) != 0) {
        if (fill(subs)) set_.info.MatchAndResize(all_zero_, is_indexing_opaque(lhs), copy_needed_);
        const bool any_growth = is_indexing_opaque(lhs) || is_indexing_opaque(rhs);
        reaches_beyond_ =
            grow_dimensions(lhs_dims_, {set_.info.max.data(), set_.count}, new_seen_, any_growth);
        if (!reaches_beyond_ && element_count(rhs) == 1 && lhs_is_empty()) copy_needed_ = false;
    }

    bool reaches_beyond() const noexcept { return reaches_beyond_; }
    bool copy_needed() const noexcept { return copy_needed_; }
    const SubscriptSet& set() const noexcept { return set_; }
    left_side_growth growth() const noexcept { return {old_seen(), new_seen(), all_zero_}; }
    dims_view old_seen() const noexcept { return {old_seen_.data(), old_seen_.size()}; }
    dims_view new_seen() const noexcept { return {new_seen_.data(), new_seen_.size()}; }

    std::size_t selected_count() const noexcept {
        std::size_t count = 1;
        for (const kvSize num : set_.info.num) count = saturated_product(count, num);
        return count;
    }

    bool is_one_colon_of_nothing() const noexcept {
        return set_.count == 1 && set_.info.IsColonCorrespondingToZeroDim(0) && is_nothing(lhs_);
    }

private:
    static constexpr std::size_t nothing[] = {0, 0};

    bool lhs_is_empty() const noexcept {
        return std::find(lhs_dims_.begin(), lhs_dims_.end(), std::size_t{0}) != lhs_dims_.end();
    }

    // x(:) = y stores into what x has; only an x of no class takes the length from y.
    bool counts_as_all_zero(subscript_list subs) const {
        const auto is_zero = [](std::size_t dim) { return dim == 0; };
        if (!std::all_of(lhs_dims_.begin(), lhs_dims_.end(), is_zero)) return false;
        return subs.size() != 1 || !api::ndIsColonIndex(subs[0]) || is_nothing(lhs_);
    }

    // False for a scalar that is assigned to nothing.
    bool fill(subscript_list subs) {
        const bool scalar = element_count(rhs_) == 1;
        bool selects = true;
        BadSubscriptHandler handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), 1);
        for (std::size_t i = 0; i < subs.size(); ++i, handler.IncrementSubscript()) {
            FillSubscriptSlot(set_, i, &subs[i], old_seen_[i], handler);
            const bool no_element = set_.info.IsEmpty(i) || (set_.info.IsColonCorrespondingToZeroDim(i) &&
                                                             !all_zero_ && lhs_->class_id != ndUNKNOWN_CLASS);
            if (scalar && no_element) selects = false;
        }
        if (!selects) copy_needed_ = false;
        return selects;
    }

    const ndArray_tag* lhs_;
    const ndArray_tag* rhs_;
    dims_view lhs_dims_;
    bool all_zero_;
    dims_list old_seen_;
    dims_list new_seen_;
    SubscriptSet set_;
    bool copy_needed_;
    bool reaches_beyond_ = false;
};

// The array that an assignment changes: the left side itself, or an array that moves onto its header in the end.
class changed_array {
public:
    explicit changed_array(ndArray_tag* lhs) noexcept : lhs_(lhs), array_(lhs) {}

    ndArray_tag* get() const noexcept { return array_; }

    void replace(array_ptr by) noexcept {
        replacement_ = std::move(by);
        array_ = replacement_.get();
    }

    void use_copy() {
        replace(is_container_class(array_->class_id) ? shallow_copy(array_) : detail::do_deep_copy(array_));
    }

    void finish() noexcept {
        if (replacement_) api::ndMoveArrayOntoHeader(lhs_, replacement_.release());
    }

private:
    ndArray_tag* lhs_;
    ndArray_tag* array_;
    array_ptr replacement_;
};

// Elements that other parts of the process keep count of go one by one, each with its count.
void replace_counted_slots(ndArray_tag* target, const fitted_subscripts& fitted, const ndArray_tag* rhs) {
    ndArray_tag* const* from = slots_of(rhs);
    const std::size_t step = element_count(rhs) == 1 ? 0 : 1;
    auto* const data = static_cast<std::byte*>(target->pdata);
    walk_elements(data, fitted.new_seen(), fitted.set(), sizeof(ndArray_tag*),
                  [&](const position_run& run, std::byte* base) {
                      const std::size_t start = static_cast<std::size_t>(base - data) / sizeof(ndArray_tag*);
                      return walk_run(run, [&](std::size_t offset) {
                          ndArray_tag* const value = from == nullptr ? nullptr : *from;
                          replace_copy_in_slot(target, start + offset, value);
                          if (from != nullptr) from += step;
                      });
                  });
}

// Where the scan for imaginary parts has no memory for its tasks the array stays complex: the value is the same.
void become_real_if_possible(ndArray_tag* array) noexcept {
    try {
        free_imag_if_zero(array);
    } catch (const std::bad_alloc&) {
    }
}

class dense_assignment {
public:
    dense_assignment(ndArray_tag* lhs, subscript_list subs, const ndArray_tag* rhs)
        : rhs_(rhs), fitted_(lhs, subs, rhs), lhs_(lhs), changed_(lhs), grew_(fitted_.reaches_beyond()) {
        if (lhs->share_record != nullptr) lhs->interleave_data();
        if (fitted_.is_one_colon_of_nothing() && makes_own_elements(rhs))
            errors::raise<TARVEL::matrix::singleSubscriptNumelMismatch>();
        if (!gives_way(lhs)) return;
        changed_.replace(create_empty_copy(rhs));
        grew_ = true;
    }

    bool grew() const noexcept { return grew_; }

    array_ptr run(const filler_function& filler, bool resize_only) {
        ndArray_tag* const array = changed_.get();
        array_ptr left_over;
        if (is_indexing_opaque(array)) {
            const SubscriptSet& set = fitted_.set();
            assign_to_opaque(array, set.count, set.indices.data(), set.info.num.data(), set.info.max.data(),
                             rhs_);
        } else {
            if (array->class_id != rhs_->class_id) raise_other_class(array);
            array_ptr new_element;
            if (grew_ && makes_own_elements(array)) {
                if (resize_only || has_gaps(array)) left_over = filler(array);
            } else if (grew_ && filler) {
                new_element = filler(array);
            }
            change(std::move(new_element), !resize_only && fitted_.copy_needed());
            if (!resize_only) settle(changed_.get());
        }
        changed_.finish();
        return left_over;
    }

private:
    [[noreturn]] void raise_other_class(const ndArray_tag* array) const {
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(rhs_),
                                                                  api::ndGetClassName(array));
    }

    bool has_gaps(const ndArray_tag* array) const {
        return leaves_gaps(element_count(array), fitted_.old_seen(), fitted_.new_seen(), fitted_.set());
    }

    void change(array_ptr new_element, bool store) {
        const bool inflates = store && is_complex(rhs_) && !is_complex(changed_.get());
        const bool counted =
            store && is_container_class(lhs_->class_id) && should_contain_internal_reference(lhs_);
        const bool grows = fitted_.reaches_beyond();
        const bool walk_may_fail = store && fitted_.set().count > inline_slots;
        if (counted || (grows && inflates) || (walk_may_fail && (grows || inflates))) changed_.use_copy();
        ndArray_tag* const array = changed_.get();
        std::optional<element_store> elements;
        if (store && !counted) elements.emplace(array, rhs_, fitted_.selected_count());
        if (grows) grow_with_filler(array, fitted_.growth(), std::move(new_element));
        if (inflates) inflate_to_complex(array);
        if (counted) replace_counted_slots(array, fitted_, rhs_);
        if (elements && !elements->store_into(array, fitted_.new_seen(), fitted_.set()))
            errors::raise<TARVEL::legacy_two_part::nomem>();
    }

    void settle(ndArray_tag* array) const noexcept {
        if (is_complex(array)) become_real_if_possible(array);
        if (array->class_id == ndDOUBLE_CLASS) refresh_scalar_double(array);
    }

    static constexpr std::size_t inline_slots = 10; // of which a walk needs no memory

    const ndArray_tag* rhs_;
    fitted_subscripts fitted_;
    ndArray_tag* lhs_;
    changed_array changed_;
    bool grew_;
};

array_ptr assign_dense(bool& grew, ndArray_tag* lhs, subscript_list subs, const ndArray_tag* rhs,
                       const filler_function& filler, bool resize_only) {
    dense_assignment assignment(lhs, subs, rhs);
    grew = assignment.grew();
    return assignment.run(filler, resize_only);
}

// A left side whose elements don't lie as elements: a copy is assigned to. Null for any other.
array_ptr full_copy(const ndArray_tag* lhs) {
    if (gives_way(lhs)) return nullptr;
    if (array_ptr expanded = expand_if_colon_object(lhs)) return expanded;
    if (!is_sparse(lhs)) return nullptr;
    boost::intrusive_ptr<ndArray_tag> full = convert_to_full_if_needed(static_cast<const ndArray_tag*>(lhs));
    return full == lhs ? nullptr : array_ptr(full.detach());
}

array_ptr assign(bool& grew, ndArray_tag* lhs, subscript_list subs, const ndArray_tag* given,
                 const filler_function& filler, bool resize_only) {
    complete_dimensions_if_opaque(lhs);
    const assignment_source source(given, lhs);
    const ndArray_tag* const rhs = source.get();
    if (is_structure_assignment(lhs, rhs)) {
        api::ndStructureAssignment(grew, lhs, subs.size(), subs.data(), rhs, 0);
        return nullptr;
    }
    array_ptr full = full_copy(lhs);
    if (!full) return assign_dense(grew, lhs, subs, rhs, filler, resize_only);
    array_ptr left_over = assign_dense(grew, full.get(), subs, rhs, filler, resize_only);
    if (is_sparse(lhs)) full = convert_to_sparse_if_needed(std::move(full));
    api::ndMoveArrayOntoHeader(lhs, full.release());
    return left_over;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

array_ptr ndSubscriptedAssignmentWithFiller(bool& grew, ndArray_tag* lhs, std::size_t nsubs,
                                            const ndArray_tag* const* subs, const ndArray_tag* rhs,
                                            const std::function<array_ptr(const ndArray_tag*)>& filler,
                                            bool resizeOnly) {
    return assign(grew, lhs, {subs, nsubs}, rhs, filler, resizeOnly);
}

void ndSubscriptedAssignment(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                             const ndArray_tag* rhs) {
    if (assign_quickly(lhs, nsubs, subs, rhs)) return;
    bool grew = false;
    const array_ptr left_over = assign(grew, lhs, {subs, nsubs}, rhs, {}, false);
    foundation::core::diag::check(
        left_over == nullptr,
        "ndSubscriptedAssignmentWithFiller returned true in ndSubscriptedAssignment. Caller must directly "
        "invoke ndSubscriptedAssignmentWithFiller instead.",
        "matrix/assignmt", __LINE__, __func__);
}

} // namespace matrix::detail::noninlined::nd_array_api
