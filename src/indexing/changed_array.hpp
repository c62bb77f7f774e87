// The changing half of an assignment: growth, complexity and the store, once everything has been tested.
#pragma once

#include "indexing/fitted_subscripts.hpp"
#include "matrix/sharing_rollback.hpp"

#include <nd/create.hpp>

#include <utility>

namespace matrix::internal {

/// The array that an assignment changes: the left side itself, or an array that moves onto its header in the end.
class changed_array {
public:
    explicit changed_array(ndArray_tag* lhs) noexcept : lhs_(lhs), array_(lhs) {}

    ndArray_tag* get() const noexcept { return array_; }
    const ndArray_tag* left_side() const noexcept { return lhs_; }

    void replace(array_ptr by) noexcept {
        replacement_ = std::move(by);
        array_ = replacement_.get();
    }

    /// Raises out of memory.
    void use_copy();

    void finish() noexcept;

private:
    ndArray_tag* lhs_;
    ndArray_tag* array_;
    sharing_rollback shared_; ///< of the left side's elements with the replacement
    array_ptr replacement_;
};

/// Grows the array where the subscripts reach beyond it, and with store puts rhs, of the same class, into what they select. new_element has
/// the value of new elements; null for zeros. Where several of these steps can fail they are made on a copy, so that the array changes at
/// once or not at all; only in an array that keeps its size, elements of an opaque class that were replaced before its failure stay so. Of
/// a rhs or new_element that holds the left side, at whatever depth, a deep copy is stored.
/// Raises what grow_with_filler does, TARVEL:nomem, out of memory.
void change_elements(changed_array& changed, const fitted_subscripts& fitted, const ndArray_tag* rhs,
                     bool store, array_ptr new_element);

} // namespace matrix::internal
