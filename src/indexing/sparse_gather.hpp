// Where the positions of one subscript go in the result: the other way round than the element walk, which asks where the elements of
// the result come from. For sparse arrays, whose elements say where they are.
#pragma once

#include "indexing/element_walk.hpp"

#include <cstddef>
#include <vector>

namespace matrix::internal {

/// The places in the result that a position is asked for at. Made once for a slot; the slot's set outlives it.
class selected_places {
public:
    /// Slot number slot of a set. Raises std::bad_alloc.
    selected_places(const SubscriptSet& set, std::size_t slot);

    std::size_t count() const noexcept { return run_.count; }
    /// What stands at place number place.
    std::size_t position(std::size_t place) const noexcept { return run_.offset(place); }

    /// Calls body(place) for each place at which this position is asked for, by ascending place.
    template <class Body>
    void for_each_place(std::size_t position, Body&& body) const {
        if (run_.positions == nullptr) {
            if (position < run_.count) body(position);
        } else if (run_.kind == slot_kind::list) {
            for (std::size_t i = first_of(position);
                 i < order_.size() && run_.positions[order_[i]] == position; ++i)
                body(order_[i]);
        } else {
            const std::size_t place = place_in_range(position);
            if (place < run_.count) body(place);
        }
    }

    /// The places follow one another as the positions do, so that elements by ascending position come by ascending place.
    bool keeps_order() const noexcept { return keeps_order_; }

private:
    std::size_t first_of(std::size_t position) const noexcept;
    std::size_t place_in_range(std::size_t position) const noexcept;

    position_run run_;
    std::vector<std::size_t> order_; ///< of a list: its places by position, then by place
    bool keeps_order_ = true;
};

} // namespace matrix::internal
