// All subscripts of one operation in the form that element loops walk, without looking at the arrays again.
//
// Each slot has a count and a maximum (in info) and one of
//
//   nothing      the colon, or a subscript that selects nothing; a slot of one position without anything stands for position 0
//   a list       positions counted from 0, in the order in which they were written
//   a range      three words: element k is first + k * step, or first - k * step where the kind is descending
//
// For a slot of one position the first word is that position, whatever the kind.
//
// An operation builds one on its stack, fills the slots in the order of the subscripts, walks, and lets it go, with everything in it. Up
// to ten slots need no block of its own, and neither do their ranges and single positions.
#pragma once

#include "indexing/index_info.hpp"

#include <nd/subscripts.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace matrix::internal {

/// What a slot with a range points to. step is its magnitude; last is the position of the last element that is reached.
struct IndexRange {
    kvIndex first;
    kvIndex step;
    kvIndex last;
};

enum class slot_kind : std::int32_t { list = 0, ascending = 1, descending = -1 };

/// A block of positions from the tier of managed memory that is on no list.
struct index_block_deleter {
    void operator()(kvIndex* block) const noexcept;
};
using index_block = std::unique_ptr<kvIndex[], index_block_deleter>;

/// Room for count positions, not 0. Raises TARVEL:nomem.
index_block make_index_block(std::size_t count);

class SubscriptSet {
public:
    /// slots counts a field slot too. use_ranges: colon objects of whole operands may stay ranges. Raises std::bad_alloc.
    SubscriptSet(std::size_t slots, bool use_ranges, bool has_field_slot)
        : SubscriptSet(slots, Korvane::engine::RHSInfo{}, use_ranges, has_field_slot) {}
    /// For an assignment from a right-hand side of that shape.
    SubscriptSet(std::size_t slots, const Korvane::engine::RHSInfo& rhs, bool use_ranges, bool has_field_slot)
        : useRanges(use_ranges),
          start(has_field_slot ? 1 : 0),
          count(slots),
          indices(slots),
          kinds(slots),
          info(slots, rhs, has_field_slot),
          words_(slots) {}
    ~SubscriptSet();
    SubscriptSet(const SubscriptSet&) = delete;
    SubscriptSet& operator=(const SubscriptSet&) = delete;

    /* What a slot holds, in place of what it held before; the number counts from slot 0. */

    void put_colon(std::size_t slot, kvSize dim) noexcept;
    void put_nothing(std::size_t slot) noexcept;
    /// num positions, at least one; max is the largest, counted from 1.
    void put_list(std::size_t slot, index_block positions, kvSize num, kvSize max) noexcept;
    /// A list of one, without a block.
    void put_position(std::size_t slot, kvIndex position) noexcept;
    /// The positions of a range, num of them, at least one.
    void put_range(std::size_t slot, const IndexRange& range, slot_kind kind, kvSize num) noexcept;

    bool useRanges;
    kvSize start; ///< the first slot of a subscript: 1 behind a field slot, else 0
    kvSize count; ///< slots
    Korvane::engine::slot_list<kvIndex*> indices; ///< blocks that the set owns, or its words for the slot
    Korvane::engine::slot_list<slot_kind> kinds;
    Korvane::engine::IndexInfo info;

private:
    void put(std::size_t slot, kvIndex* block, slot_kind kind, Korvane::engine::IndexFlag flag, kvSize num,
             kvSize max) noexcept;
    void free_block(std::size_t slot) noexcept;

    Korvane::engine::slot_list<std::array<kvIndex, sizeof(IndexRange) / sizeof(kvIndex)>> words_;
};

/// Converts one subscript and fills a slot with it; slot counts as the functions of info do, from the first slot of a subscript. dim is the size of
/// the dimension; only a colon reads it. That the positions fit the dimension isn't asked: MaxIndex tells. handler is the one of
/// this subscript; the caller moves it on, also behind a colon. Raises what <nd/subscripts.hpp> tells; the set is then unchanged.
void FillSubscriptSlot(SubscriptSet& set, std::size_t slot, const ndArray_tag* const* subscript, kvSize dim,
                       const Korvane::indexing::utilities::BadSubscriptHandler& handler);

} // namespace matrix::internal
