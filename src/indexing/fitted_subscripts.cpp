// Subscripts converted, fitted to the right-hand side and tested for growth, in this order.
#include "indexing/fitted_subscripts.hpp"

#include "indexing/structure_assignment.hpp"
#include "indexing/structure_reference.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/field_names.hpp"

#include <nd/scalars.hpp>

#include <algorithm>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::engine::RHSInfo;
using Korvane::indexing::utilities::BadSubscriptHandler;

// Whether its class wants lists of positions.
bool wants_lists(const ndArray_tag* array) noexcept {
    return array->class_id == ndFUNCTION_CLASS || array->class_id == ndOPAQUE_CLASS ||
           is_indexing_opaque(array);
}

bool is_nothing(const ndArray_tag* lhs) noexcept {
    return lhs->class_id == ndUNKNOWN_CLASS && element_count(lhs) == 0;
}

RHSInfo shape_of(const ndArray_tag* rhs) noexcept {
    const dims_view dims = dims_of(rhs);
    return {dims.data(), dims.size(), is_indexing_opaque(rhs)};
}

} // namespace

fitted_subscripts::fitted_subscripts(const ndArray_tag* lhs, std::span<const ndArray_tag* const> subs,
                                     const ndArray_tag* rhs, std::optional<std::size_t> field)
    : lhs_(lhs),
      rhs_(rhs),
      field_(field.value_or(0)),
      replaces_(field_ == 0 && gives_way(lhs)),
      lhs_dims_(replaces_ ? dims_view(nothing) : dims_of(lhs)),
      all_zero_(counts_as_all_zero(subs)),
      set_(subs.size() + (field ? 1 : 0), shape_of(rhs), !wants_lists(lhs) && !wants_lists(rhs),
           field.has_value()),
      old_seen_(all_zero_ ? dims_list(subs.size()) : folded_dimensions(lhs_dims_, subs.size())),
      copy_needed_(element_count(rhs) != 0) {
    if (field) old_seen_.insert(old_seen_.begin(), fields_of(replaces_ ? rhs : lhs));
    new_seen_ = old_seen_;
    if (fill(subs)) set_.info.MatchAndResize(all_zero_, is_indexing_opaque(lhs), copy_needed_);
    const bool any_growth = is_indexing_opaque(lhs) || is_indexing_opaque(rhs);
    const dims_view reach = set_.info.max;
    reaches_beyond_ =
        grow_dimensions(lhs_dims_, reach.subspan(set_.start), subscripted(new_seen_), any_growth);
    const bool lhs_is_empty =
        std::find(lhs_dims_.begin(), lhs_dims_.end(), std::size_t{0}) != lhs_dims_.end();
    if (!reaches_beyond_ && element_count(rhs) == 1 && lhs_is_empty) copy_needed_ = false;
}

std::size_t fitted_subscripts::selected_count() const noexcept {
    return saturated_count({set_.info.num.data(), set_.info.num.size()});
}

bool fitted_subscripts::is_one_colon_of_nothing() const noexcept {
    return old_seen_.size() == 1 && set_.info.IsColonCorrespondingToZeroDim(0) && is_nothing(lhs_);
}

void fitted_subscripts::select_field() { fill_field_slot(set_, old_seen_[0], field_); }

std::span<std::size_t> fitted_subscripts::subscripted(dims_list& seen) const noexcept {
    return std::span<std::size_t>(seen).subspan(set_.start);
}

// x(:) = y stores into what x has; only an x of no class takes the length from y. x.f doesn't either.
bool fitted_subscripts::counts_as_all_zero(std::span<const ndArray_tag* const> subs) const {
    const auto is_zero = [](std::size_t dim) { return dim == 0; };
    if (field_ != 0 || !std::all_of(lhs_dims_.begin(), lhs_dims_.end(), is_zero)) return false;
    return subs.size() != 1 || !api::ndIsColonIndex(subs[0]) || is_nothing(lhs_);
}

// False for a scalar that is assigned to nothing.
bool fitted_subscripts::fill(std::span<const ndArray_tag* const> subs) {
    const bool scalar = element_count(rhs_) == 1;
    const std::span<std::size_t> dims = subscripted(old_seen_);
    bool selects = true;
    BadSubscriptHandler handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), 1);
    for (std::size_t i = 0; i < subs.size(); ++i, handler.IncrementSubscript()) {
        FillSubscriptSlot(set_, i, &subs[i], dims[i], handler);
        const bool no_element = set_.info.IsEmpty(i) || (set_.info.IsColonCorrespondingToZeroDim(i) &&
                                                         !all_zero_ && lhs_->class_id != ndUNKNOWN_CLASS);
        if (scalar && no_element) selects = false;
    }
    if (!selects) copy_needed_ = false;
    return selects;
}

} // namespace matrix::internal
