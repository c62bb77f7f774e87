// The subscripts of an assignment against both of its sides: what they select, whether the right-hand side fits there, and what the left
// side becomes. Nothing is changed.
#pragma once

#include "indexing/growth.hpp"
#include "indexing/subscript_set.hpp"

#include <nd/array.hpp>

#include <cstddef>
#include <optional>
#include <span>

namespace matrix::internal {

class fitted_subscripts {
public:
    /// field: of an assignment to slots of a struct, which has its fields as a dimension in front of all others: one of them, counted
    /// from 1, or 0 for all. The array of a field never gives way. Raises what subscripts do, TARVEL:subsassigndimmismatch,
    /// ambiguousArrayGrowth; out of memory.
    fitted_subscripts(const ndArray_tag* lhs, std::span<const ndArray_tag* const> subs,
                      const ndArray_tag* rhs, std::optional<std::size_t> field = {});

    /// Class and fields of the left side are those of the right-hand side.
    bool replaces() const noexcept { return replaces_; }
    bool reaches_beyond() const noexcept { return reaches_beyond_; }
    bool copy_needed() const noexcept { return copy_needed_; }
    const SubscriptSet& set() const noexcept { return set_; }
    dims_view old_seen() const noexcept { return old_seen_; }
    dims_view new_seen() const noexcept { return new_seen_; }
    left_side_growth growth() const noexcept { return {old_seen_, new_seen_, all_zero_, set_.start != 0}; }

    /// How many elements the subscripts select; of a struct slots.
    std::size_t selected_count() const noexcept;

    /// x(:) where x is of no class.
    bool is_one_colon_of_nothing() const noexcept;

    /// Fills the slot of the field, which has waited till the two sides were known to have the same. Raises TARVEL:badargs for one that
    /// isn't there, TARVEL:nomem.
    void select_field();

private:
    static constexpr std::size_t nothing[] = {0, 0};

    std::span<std::size_t> subscripted(dims_list& seen) const noexcept;
    bool counts_as_all_zero(std::span<const ndArray_tag* const> subs) const;
    bool fill(std::span<const ndArray_tag* const> subs);

    const ndArray_tag* lhs_;
    const ndArray_tag* rhs_;
    std::size_t field_;
    bool replaces_;
    dims_view lhs_dims_; ///< of what gives way they count as 0x0
    bool all_zero_;
    SubscriptSet set_;
    dims_list old_seen_; ///< with the fields in front
    dims_list new_seen_;
    bool copy_needed_;
    bool reaches_beyond_ = false;
};

} // namespace matrix::internal
