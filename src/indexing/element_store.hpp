// The right-hand side of an assignment on its way into the left side.
//
//   logical, char, numeric   bytes of the element's width; real ones are widened for a complex left side
//   cell, struct, object     one owner more for plain arrays, shared copies of those that can hold references. Elements of structs are as
//                            many slots as they have fields
//   function handle          the records, with a reference more to what they hold
//   opaque                   each element as its class replaces it; where the left side grows, its class has filled a place beside it before
//
// A scalar goes to every place. What can fail is done when the store is made, before the left side grows: copies then wait beside
// it. Storing can only fail for opaque elements of a left side that keeps its size.
#pragma once

#include "indexing/subscript_set.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/sharing_rollback.hpp"

#include <optional>

namespace matrix::internal {

class element_store {
public:
    /// target has source's class, but not its complexity necessarily; count elements are selected in it, of a struct count slots. source is
    /// full and current, and holds one element or as many as are selected. The slots of a struct may come from a cell. grows: target
    /// is going to grow before the elements are stored. Raises std::bad_alloc, TARVEL:nomem and what copying an element raises.
    element_store(ndArray_tag* target, const ndArray_tag* source, std::size_t count, bool grows);

    /// Into the elements that the set selects, all within seen. False when the class of opaque elements has no memory.
    /// Raises what that class raises, and std::bad_alloc, before anything is stored, for more than ten slots.
    bool store_into(ndArray_tag* target, dims_view seen, const SubscriptSet& set);

private:
    bool store_values(ndArray_tag* target, dims_view seen, const SubscriptSet& set) const;
    bool store_slots(ndArray_tag* target, dims_view seen, const SubscriptSet& set);
    bool store_records(ndArray_tag* target, dims_view seen, const SubscriptSet& set);
    bool store_references(ndArray_tag* target, dims_view seen, const SubscriptSet& set);

    const ndArray_tag* source_;
    bool scalar_;
    sharing_rollback shared_; ///< of what stands in prepared_
    std::optional<data_copy>
        prepared_; ///< for each place of its own; none where sharing an element can't fail
};

/// One reference to the first element of source, a cell or an opaque array with elements, for each of count slots of target. Raises
/// std::bad_alloc and what copying an element raises.
data_copy copies_for_slots(ndArray_tag* target, const ndArray_tag* source, std::size_t count);

} // namespace matrix::internal
