// Each step makes an array only where it's needed.
#include "indexing/assignment_source.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"
#include "matrix/resize.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/convert.hpp>

namespace matrix::internal {

assignment_source::assignment_source(const ndArray_tag* given, const ndArray_tag* not_this)
    : array_(given), held_(held_for_change(given, not_this)) {
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
    if (array_->pdata != nullptr || element_count(array_) == 0 || is_indexing_opaque(array_)) return;
    array_ptr with_data = detail::do_deep_copy(array_);
    add_missing_block(with_data.get());
    take(std::move(with_data));
}

// The flags stay: an owner for the length of a call is none that others could notice.
array_ptr held_for_change(const ndArray_tag* source, const ndArray_tag* changing) noexcept {
    if (source == changing || !is_container_class(source->class_id) ||
        !is_container_class(changing->class_id))
        return nullptr;
    auto* const held = const_cast<ndArray_tag*>(source);
    ++held->ref_count;
    return array_ptr(held);
}

} // namespace matrix::internal
