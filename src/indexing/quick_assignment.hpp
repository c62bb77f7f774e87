// The assignments that most programs make most of the time, without a set of subscripts.
#pragma once

#include <nd/array.hpp>

#include <cstddef>

namespace matrix::internal {

/// x(i) = y with one subscript into a full array of plain elements, y of its class and complexity:
///
///   a range that ascends by 1   a block is copied or filled
///   doubles, 64-bit integers    all values are tested, then stored through; a scalar y goes to all of them
///
/// False, with nothing changed, for everything else, also for what is an error or would make x grow: the full way finds out.
/// Raises nothing.
bool assign_quickly(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                    const ndArray_tag* rhs) noexcept;

} // namespace matrix::internal
