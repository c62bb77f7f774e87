// Each step makes an array only where it's needed.
#include "indexing/assignment_source.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/resize.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/convert.hpp>

namespace matrix::internal {

assignment_source::assignment_source(const ndArray_tag* given, const ndArray_tag* not_this) : array_(given) {
    const auto take = [this](array_ptr made) {
        made_.reset(made.release(), false);
        array_ = made_.get();
    };
    complete_dimensions_if_opaque(given);
    if (array_ptr expanded = expand_if_colon_object(given)) {
        take(std::move(expanded));
    } else if (is_sparse(given)) {
        made_ = convert_to_full_if_needed(given);
        array_ = made_.get();
    }
    if (array_ == not_this) take(detail::do_deep_copy(array_));
    bring_data_up_to_date(array_);
    const bool has_own_elements = (array_->flags & flag_indexing_opaque) != 0;
    if (array_->pdata != nullptr || element_count(array_) == 0 || has_own_elements) return;
    array_ptr with_data = detail::do_deep_copy(array_);
    add_missing_block(with_data.get());
    take(std::move(with_data));
}

} // namespace matrix::internal
