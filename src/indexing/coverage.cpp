// The test of each subscript marks the positions that it names.
#include "indexing/coverage.hpp"

#include <algorithm>
#include <vector>

namespace matrix::internal {
namespace {

// Whether a slot names all positions from first to one before end.
bool covers(const SubscriptSet& set, std::size_t slot, std::size_t first, std::size_t end) {
    const std::size_t span = end - first;
    const std::size_t count = set.info.NumIndices(slot);
    if (count < span) return false;
    const kvIndex* const positions = set.indices[set.start + slot];
    if (positions == nullptr) return true;
    std::vector<bool> named(span);
    for (std::size_t i = 0; i < count; ++i) {
        if (positions[i] >= first && positions[i] < end) named[positions[i] - first] = true;
    }
    return std::find(named.begin(), named.end(), false) == named.end();
}

} // namespace

bool leaves_gaps(std::size_t old_count, dims_view old_seen, dims_view new_seen, const SubscriptSet& set) {
    if (new_seen.size() == 1) return new_seen[0] > old_count && !covers(set, 0, old_count, new_seen[0]);
    std::size_t growing = 0;
    for (std::size_t i = 0; i < new_seen.size(); ++i) growing += new_seen[i] > old_seen[i] ? 1 : 0;
    if (growing == 0) return false;
    for (std::size_t i = 0; i < new_seen.size(); ++i) {
        const bool from_old_end = growing == 1 && new_seen[i] > old_seen[i];
        if (!covers(set, i, from_old_end ? old_seen[i] : 0, new_seen[i])) return true;
    }
    return false;
}

} // namespace matrix::internal
