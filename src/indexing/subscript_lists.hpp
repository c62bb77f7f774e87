// Subscripts as lists of positions, by class. Each function converts one subscript array that isn't the colon; what it raises is told
// in <nd/subscripts.hpp>.
#pragma once

#include "indexing/subscript_set.hpp"

namespace matrix::internal {

/// Positions counted from 0, and the largest of them, counted from 1. No positions: no block.
struct index_list {
    index_block positions;
    kvSize count = 0;
    kvSize max = 0;
};

/// Numbers and code units; a class without any gives no positions.
index_list numeric_positions(const ndArray_tag* subscript,
                             const Korvane::indexing::utilities::BadSubscriptHandler& handler);

/// The true elements.
index_list logical_positions(const ndArray_tag* subscript,
                             const Korvane::indexing::utilities::BadSubscriptHandler& handler);

/// Fills slot (counted from 0) with the range of a colon object.
void fill_with_range(SubscriptSet& set, std::size_t slot, const ndArray_tag* colon_object,
                     const Korvane::indexing::utilities::BadSubscriptHandler& handler);

} // namespace matrix::internal
