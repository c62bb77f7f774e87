// What the subscripts of one operation select, slot by slot: how many positions, the largest of them, and which kind of subscript
// it was. The positions themselves stand in the SubscriptSet (subscript_set.hpp).
//
// A slot is a dimension of the array as the operation sees it. Where struct arrays have their fields as a dimension before all others,
// slot 0 is that, and start is 1. The functions count from the first slot of a subscript; the lists have every slot.
#pragma once

#include <nd/types.h>

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>

namespace Korvane::engine {

enum class IndexFlag : std::int32_t {
    list = 0,          ///< a list or a range, with at least one position
    empty = 1,         ///< a subscript that selects nothing and isn't a colon
    colon = -1,        ///< the colon, of a dimension that isn't 0
    colon_of_zero = -2 ///< the colon of a dimension of size 0
};

/// The shape of the right-hand side of an assignment. The dimensions belong to it.
struct RHSInfo {
    const kvSize* dims;
    kvSize ndims;
    bool indexingOpaque;
};

/// One value for each slot; up to ten need no block.
template <class T>
using slot_list = boost::container::small_vector<T, 10>;

class IndexInfo {
public:
    /// All slots 0. Raises std::bad_alloc.
    IndexInfo(std::size_t slots, bool hasFieldSlot) : IndexInfo(slots, RHSInfo{}, hasFieldSlot) {}

    /// For an assignment: MatchAndResize compares with its right-hand side.
    IndexInfo(std::size_t slots, const RHSInfo& rhsInfo, bool hasFieldSlot)
        : flag(slots), max(slots), num(slots), start(hasFieldSlot ? 1 : 0), rhs(rhsInfo) {}

    std::size_t NumIndices(std::size_t i) const noexcept { return num[start + i]; }
    std::size_t MaxIndex(std::size_t i) const noexcept { return max[start + i]; }
    IndexFlag GetIndexFlag(std::size_t i) const noexcept { return flag[start + i]; }
    bool IsEmpty(std::size_t i) const noexcept { return GetIndexFlag(i) == IndexFlag::empty; }
    bool IsSingleton(std::size_t i) const noexcept { return NumIndices(i) == 1; }
    bool IsColonCorrespondingToZeroDim(std::size_t i) const noexcept {
        return GetIndexFlag(i) == IndexFlag::colon_of_zero;
    }

    /// Fits the subscripts of an assignment to the shape of its right-hand side; match_and_resize.cpp tells how. Colons of dimensions
    /// of size 0 take their lengths from it when every dimension of the left side is 0. copyNeeded becomes false when there is
    /// nothing to store. Does nothing when either side is indexing-opaque. Raises TARVEL:subsassigndimmismatch; num and max may have
    /// changed then.
    void MatchAndResize(bool lhsAllDimsZero, bool lhsOpaque, bool& copyNeeded);

    slot_list<IndexFlag> flag;
    slot_list<kvSize> max; ///< the largest position, counted from 1; the dimension for a colon, 0 for nothing
    slot_list<kvSize> num; ///< how many positions; the dimension for a colon, 0 for nothing
    kvSize start;          ///< the first slot of a subscript: 0 or 1

    RHSInfo rhs;
};

} // namespace Korvane::engine
