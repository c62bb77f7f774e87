// Positions to places: a list is sorted once and searched, a range is a division.
#include "indexing/sparse_gather.hpp"

#include <algorithm>
#include <numeric>

namespace matrix::internal {

selected_places::selected_places(const SubscriptSet& set, std::size_t slot)
    : run_{set.info.num[slot], set.indices[slot], set.kinds[slot], 1} {
    if (run_.positions == nullptr) return;
    keeps_order_ = run_.kind == slot_kind::ascending;
    if (run_.kind != slot_kind::list) return;
    const kvIndex* const positions = run_.positions;
    keeps_order_ = std::is_sorted(positions, positions + run_.count);
    order_.resize(run_.count);
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    if (keeps_order_) return;
    std::sort(order_.begin(), order_.end(), [positions](std::size_t a, std::size_t b) {
        return positions[a] != positions[b] ? positions[a] < positions[b] : a < b;
    });
}

std::size_t selected_places::first_of(std::size_t position) const noexcept {
    const kvIndex* const positions = run_.positions;
    const auto found = std::lower_bound(
        order_.begin(), order_.end(), position,
        [positions](std::size_t place, std::size_t wanted) { return positions[place] < wanted; });
    return static_cast<std::size_t>(found - order_.begin());
}

// At or above the count where the range doesn't reach the position.
std::size_t selected_places::place_in_range(std::size_t position) const noexcept {
    const IndexRange range = run_.range();
    const bool ascending = run_.kind == slot_kind::ascending;
    if (ascending ? position < range.first : position > range.first) return run_.count;
    const std::size_t way = ascending ? position - range.first : range.first - position;
    return way % range.step == 0 ? way / range.step : run_.count;
}

} // namespace matrix::internal
