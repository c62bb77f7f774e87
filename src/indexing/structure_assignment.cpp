// Assignment to struct and object arrays, in the order in which things are tried:
//
//   the subscripts are converted and fitted to the right-hand side; the growth test
//   the two sides have the same fields, or one side gives way
//   copies of the values wait beside the array; it grows; the values go to their slots, which can't fail any more
//
// A left side that gives way is built aside and moves onto the header in the end.
#include "indexing/structure_assignment.hpp"

#include "indexing/element_store.hpp"
#include "indexing/growth.hpp"
#include "indexing/reference.hpp"
#include "indexing/structure_reference.hpp"

#include "errors/raise.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/class_table.hpp"
#include "matrix/field_names.hpp"
#include "matrix/size_check.hpp"

#include <nd/class_access.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::engine::RHSInfo;
using Korvane::indexing::utilities::BadSubscriptHandler;

RHSInfo shape_of(const ndArray_tag* rhs) noexcept {
    const dims_view dims = dims_of(rhs);
    return {dims.data(), dims.size(), (rhs->flags & flag_indexing_opaque) != 0};
}

// The two sides of one assignment, as the subscripts see them.
class structure_assignment {
public:
    structure_assignment(ndArray_tag* lhs, subscript_span subs, const ndArray_tag* rhs, std::size_t field)
        : lhs_(lhs),
          rhs_(rhs),
          field_(field),
          replaces_(field == 0 && gives_way(lhs)),
          set_(subs.size() + 1, shape_of(rhs), true, true) {
        const dims_view dims = dims_before();
        const auto is_zero = [](std::size_t dim) { return dim == 0; };
        all_zero_ = field == 0 && std::all_of(dims.begin(), dims.end(), is_zero);
        if (all_zero_ && subs.size() == 1 && api::ndIsColonIndex(subs[0])) all_zero_ = is_unknown();
        const dims_list seen = all_zero_ ? dims_list(subs.size(), 0) : folded_dimensions(dims, subs.size());
        old_seen_ = new_seen_ = dimensions_with_fields(fields(), seen);
        convert(subs);
    }

    // Whether the left side grew or gave way.
    bool run() {
        const dims_view reach = set_.info.max;
        const bool grows = grow_dimensions(dims_before(), reach.subspan(1), seen_by_subscripts(new_seen_));
        if (!grows && element_count(rhs_) == 1 && element_count(lhs_) == 0) stores_ = false;
        refuse_other_fields();
        fill_field_slot(set_, fields(), field_);
        array_ptr replacement = replaces_ ? create_empty_copy(rhs_) : nullptr;
        store(replacement ? replacement.get() : lhs_, grows);
        if (replacement) api::ndMoveArrayOntoHeader(lhs_, replacement.release());
        return grows || replaces_;
    }

private:
    static std::span<std::size_t> seen_by_subscripts(dims_list& seen) noexcept {
        return {seen.data() + 1, seen.size() - 1};
    }

    bool is_unknown() const noexcept { return lhs_->class_id == ndUNKNOWN_CLASS && element_count(lhs_) == 0; }

    // What gives way counts as 0x0, whatever its shape.
    dims_view dims_before() const noexcept {
        static constexpr std::size_t nothing[] = {0, 0};
        return replaces_ ? dims_view(nothing) : dims_of(lhs_);
    }

    std::size_t fields() const noexcept {
        const ndArray_tag* const with_fields = replaces_ ? rhs_ : lhs_;
        return is_struct_like(with_fields->class_id) ? field_count(with_fields) : 0;
    }

    // A scalar that is assigned to nothing fits, whatever else is selected.
    void convert(subscript_span subs) {
        stores_ = element_count(rhs_) != 0;
        const bool scalar = element_count(rhs_) == 1;
        bool to_nothing = false;
        auto handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), 1);
        for (std::size_t i = 0; i < subs.size(); ++i, handler.IncrementSubscript()) {
            FillSubscriptSlot(set_, i, &subs[i], old_seen_[i + 1], handler);
            const bool empty_colon =
                set_.info.IsColonCorrespondingToZeroDim(i) && !all_zero_ && lhs_->class_id != ndUNKNOWN_CLASS;
            to_nothing = to_nothing || (scalar && (set_.info.IsEmpty(i) || empty_colon));
        }
        if (to_nothing) {
            stores_ = false;
        } else {
            set_.info.MatchAndResize(all_zero_, false, stores_);
        }
    }

    // Slots are stored by position: both sides have as many fields, or the right-hand side is a cell of one field's values.
    void refuse_other_fields() const {
        const bool fits = field_ == 0 ? is_struct_like(rhs_->class_id) &&
                                            (replaces_ || is_struct_like(lhs_->class_id)) &&
                                            field_count(rhs_) == fields()
                                      : rhs_->class_id == ndCELL_CLASS && is_struct_like(lhs_->class_id);
        if (!fits)
            errors::raise<TARVEL::legacy_two_part::invalidConversion>(std::string(api::ndGetClassName(rhs_)),
                                                                      std::string(api::ndGetClassName(lhs_)));
    }

    void store(ndArray_tag* target, bool grows) {
        if (grows) checked_element_count(new_seen_, sizeof(ndArray_tag*));
        std::size_t count = stores_ ? 1 : 0;
        for (const std::size_t selected : set_.info.num) count *= selected;
        element_store values(target, rhs_, count);
        if (grows) grow_left_side(target, {old_seen_, new_seen_, all_zero_, true});
        if (count != 0 && !values.store_into(target, new_seen_, set_))
            errors::raise<TARVEL::legacy_two_part::nomem>();
    }

    ndArray_tag* lhs_;
    const ndArray_tag* rhs_;
    std::size_t field_;
    bool replaces_;
    bool all_zero_ = false;
    bool stores_ = false;
    SubscriptSet set_;
    dims_list old_seen_; // with the fields in front
    dims_list new_seen_;
};

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndStructureAssignment(bool& grew, ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                           const ndArray_tag* rhs, std::size_t field) {
    if (nsubs == 0) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    grew = false;
    const array_ptr own = rhs == lhs && is_struct_like(lhs->class_id) ? shallow_copy(lhs) : nullptr;
    grew = structure_assignment(lhs, {subs, nsubs}, own ? own.get() : rhs, field).run();
}

} // namespace matrix::detail::noninlined::nd_array_api
