// The assignments that most programs make most of the time, without a set of subscripts.
#pragma once

#include <nd/array.hpp>

#include <cstddef>

namespace matrix::internal {

/// x(s) = y and x(r, c) = y for a full real array of plain elements and y of its class:
///
///   r, c, s   the colon, a whole range, a single double: blocks are copied or filled, and elements at steps
///   s         a full vector of doubles or 64-bit integers: all are tested, then values are stored through them
///
/// False, with nothing changed, for everything else, also for what is an error or would make x grow: the full way finds out.
/// Raises nothing.
bool assign_quickly(ndArray_tag* lhs, std::size_t nsubs, const ndArray_tag* const* subs,
                    const ndArray_tag* rhs) noexcept;

} // namespace matrix::internal
