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
#include "indexing/changed_array.hpp"
#include "indexing/coverage.hpp"
#include "indexing/fitted_subscripts.hpp"
#include "indexing/quick_assignment.hpp"
#include "indexing/structure_assignment.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/complexity.hpp"
#include "matrix/opaque_assignment.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_parts.hpp"

#include <errors/raise.hpp>
#include <foundation/core/diag/diag.hpp>

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/convert.hpp>
#include <nd/share.hpp>
#include <nd/structures.hpp>

#include <span>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using subscript_list = std::span<const ndArray_tag* const>;
using filler_function = std::function<array_ptr(const ndArray_tag*)>;

class dense_assignment {
public:
    dense_assignment(ndArray_tag* lhs, subscript_list subs, const ndArray_tag* rhs)
        : rhs_(rhs), fitted_(lhs, subs, rhs), changed_(lhs), grew_(fitted_.reaches_beyond()) {
        if (lhs->share_record != nullptr) lhs->interleave_data();
        if (fitted_.is_one_colon_of_nothing() && makes_own_elements(rhs))
            errors::raise<TARVEL::matrix::singleSubscriptNumelMismatch>();
        if (!fitted_.replaces()) return;
        changed_.replace(create_empty_copy(rhs));
        changed_.get()->flags |= rhs->flags & flag_indexing_opaque; // its class makes the elements
        grew_ = true;
    }

    bool grew() const noexcept { return grew_; }

    array_ptr run(const filler_function& filler, bool resize_only) {
        array_ptr left_over;
        if (is_indexing_opaque(changed_.get())) {
            const SubscriptSet& set = fitted_.set();
            assign_to_opaque(changed_.get(), set.count, set.indices.data(), set.info.num.data(),
                             set.info.max.data(), rhs_);
        } else {
            left_over = assign_elements(filler, resize_only);
        }
        changed_.finish();
        return left_over;
    }

private:
    array_ptr assign_elements(const filler_function& filler, bool resize_only) {
        const ndArray_tag* const array = changed_.get();
        if (array->class_id != rhs_->class_id || is_indexing_opaque(rhs_)) raise_other_class(array);
        array_ptr new_element;
        array_ptr left_over;
        if (grew_ && makes_own_elements(array)) {
            if (resize_only || has_gaps(array)) left_over = filler(array);
        } else if (grew_ && filler) {
            new_element = filler(array);
        }
        if (has_shared_data(array)) changed_.use_copy(); // the filler has kept or returned a shared copy
        change_elements(changed_, fitted_, rhs_, !resize_only && fitted_.copy_needed(),
                        std::move(new_element));
        if (!resize_only) settle(changed_.get());
        return left_over;
    }

    [[noreturn]] void raise_other_class(const ndArray_tag* array) const {
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(rhs_),
                                                                  api::ndGetClassName(array));
    }

    bool has_gaps(const ndArray_tag* array) const {
        return leaves_gaps(element_count(array), fitted_.old_seen(), fitted_.new_seen(), fitted_.set());
    }

    void settle(ndArray_tag* array) const noexcept {
        if (is_complex(array)) become_real_if_possible(array);
        if (array->class_id == ndDOUBLE_CLASS) refresh_scalar_double(array);
    }

    const ndArray_tag* rhs_;
    fitted_subscripts fitted_;
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
    if (!full) {
        array_ptr left_over = assign_dense(grew, lhs, subs, rhs, filler, resize_only);
        lhs->flags &= ~flag_colon_object; // what wasn't a range doesn't grow into one
        return left_over;
    }
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
