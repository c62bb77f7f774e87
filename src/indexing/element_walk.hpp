// The walk over the elements that the subscripts of one operation select, in the order of the result: the first subscript runs
// fastest. Reference and assignment walk the same way, each with what it does to the elements of one run.
//
// Subscripts of one position are folded into the start. The first of the others is the inner loop: one call with all its
// positions; those behind turn like the wheels of a counter. Neighbouring colons, and a colon with a range of step 1 behind it, make
// one long run: x(:,:,2) is one call.
//
//     walk_elements(data, dims, set, element_size, [&](const position_run& run, std::byte* base) {
//         return walk_run(run, [&](std::size_t offset) { ... base + offset * element_size ... });
//     });
//
// dims has an entry for each slot of the set, a field slot included, and every position lies within it. data may point to const bytes. A set
// that selects nothing makes no call.
#pragma once

#include "indexing/folded_dimensions.hpp"
#include "indexing/subscript_set.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace matrix::internal {

/// Positions along one dimension. Without a list or a range they are 0 to count - 1.
struct position_run {
    std::size_t count;
    const kvIndex* positions; ///< null, a list of count positions, or an IndexRange; as kind tells
    slot_kind kind;
    std::size_t stride; ///< from one position to the next, in elements

    /// The elements lie side by side, from the base on.
    bool is_block() const noexcept { return positions == nullptr && stride == 1; }

    IndexRange range() const noexcept {
        IndexRange words;
        std::memcpy(&words, positions, sizeof words);
        return words;
    }

    /// In elements from the base.
    std::size_t offset(std::size_t i) const noexcept {
        if (positions == nullptr) return i * stride;
        if (kind == slot_kind::list) return positions[i] * stride;
        const std::size_t way = i * positions[1];
        return (kind == slot_kind::ascending ? positions[0] + way : positions[0] - way) * stride;
    }
};

/// What a set of subscripts selects, as runs.
struct walk_order {
    /// Raises std::bad_alloc, for more than ten slots.
    walk_order(dims_view dims, const SubscriptSet& set);

    std::size_t start = 0;                              ///< where all runs begin, in elements
    position_run inner{1, nullptr, slot_kind::list, 1}; ///< count 0: nothing is selected
    Korvane::engine::slot_list<position_run> outer;     ///< the next one spins fastest
};

namespace walk {

template <class Body>
bool visit(Body& body, std::size_t offset) {
    if constexpr (std::is_void_v<decltype(body(offset))>) {
        body(offset);
        return true;
    } else {
        return body(offset);
    }
}

// stride may be a constant.
template <class Stride, class Body>
bool visit_all(const position_run& run, Stride stride, Body& body) {
    const std::size_t count = run.count;
    if (run.positions == nullptr) {
        for (std::size_t i = 0; i < count; ++i)
            if (!visit(body, i * stride)) return false;
        return true;
    }
    if (run.kind == slot_kind::list) {
        const kvIndex* const positions = run.positions;
        for (std::size_t i = 0; i < count; ++i)
            if (!visit(body, positions[i] * stride)) return false;
        return true;
    }
    const IndexRange range = run.range();
    const std::size_t step = range.step * stride;
    std::size_t offset = range.first * stride;
    if (run.kind == slot_kind::ascending) {
        for (std::size_t i = 0; i < count; ++i, offset += step)
            if (!visit(body, offset)) return false;
        return true;
    }
    for (std::size_t i = 0; i < count; ++i, offset -= step) // wraps behind the last one
        if (!visit(body, offset)) return false;
    return true;
}

} // namespace walk

/// Calls body(offset) for each element of a run, offset in elements from the base. A body that answers is asked whether to go on. False when
/// it stopped.
template <class Body>
bool walk_run(const position_run& run, Body&& body) {
    if (run.stride == 1) return walk::visit_all(run, std::integral_constant<std::size_t, 1>(), body);
    return walk::visit_all(run, run.stride, body);
}

/// Calls run(position_run, base) for each run, base being where its position 0 lies. False when a call did: the walk stops
/// there. Raises std::bad_alloc, for more than ten slots, before the first call.
template <class Byte, class Run>
bool walk_elements(Byte* data, dims_view dims, const SubscriptSet& set, std::size_t element_size, Run&& run) {
    static_assert(sizeof(Byte) == 1);
    const walk_order order(dims, set);
    if (order.inner.count == 0) return true;
    const std::size_t wheels = order.outer.size();
    dims_list turned(wheels);
    dims_list from(wheels + 1, order.start); // where the runs begin, as the wheels from this one on have it
    const auto turn = [&](std::size_t wheel) {
        from[wheel] = from[wheel + 1] + order.outer[wheel].offset(turned[wheel]);
    };
    for (std::size_t wheel = wheels; wheel-- > 0;) turn(wheel);
    for (;;) {
        if (!run(order.inner, data + from[0] * element_size)) return false;
        std::size_t wheel = 0;
        for (; wheel < wheels && ++turned[wheel] == order.outer[wheel].count; ++wheel) turned[wheel] = 0;
        if (wheel == wheels) return true;
        do turn(wheel);
        while (wheel-- > 0);
    }
}

} // namespace matrix::internal
