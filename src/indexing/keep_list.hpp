// What stays of a dimension when the positions that a subscript selects are deleted.
//
//   a run that ascends, a range of step 1 or -1   the number of positions in front of them and behind them, which is all that a deletion
//                                                 of whole blocks needs
//   any other                                     a mark for each position of the dimension, whatever it selects
#pragma once

#include <nd/subscripts.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace matrix::internal {

struct mark_deleter {
    void operator()(std::uint8_t* marks) const noexcept;
};
using mark_block = std::unique_ptr<std::uint8_t[], mark_deleter>;

struct keep_list {
    kvSize dim;       ///< positions before
    kvSize count;     ///< positions that stay
    kvSize head;      ///< without marks: the first ones stay, so many of them,
    kvSize tail;      ///< and the last ones
    mark_block marks; ///< one for each position: 1 stays, 0 goes

    bool deletes_nothing() const noexcept { return count == dim; }
};

/// What the positions of subscript leave of a dimension of size dim. subscript isn't the colon. Positions that are named twice go
/// once.
/// Raises what converting the subscript does, in handler's words; TARVEL:subsdeldimmismatch for a position beyond the dimension;
/// TARVEL:nomem.
keep_list kept_positions(const ndArray_tag* const* subscript, kvSize dim,
                         const Korvane::indexing::utilities::BadSubscriptHandler& handler);

/// Calls body(first, count) for the runs of positions that stay, in their order, none of them empty.
template <class Body>
void for_each_kept_run(const keep_list& keep, Body&& body) {
    if (keep.marks == nullptr) {
        if (keep.head != 0) body(kvSize{0}, keep.head);
        if (keep.tail != 0) body(keep.dim - keep.tail, keep.tail);
        return;
    }
    const std::uint8_t* const marks = keep.marks.get();
    for (kvSize at = 0; at < keep.dim;) {
        const void* const first = std::memchr(marks + at, 1, keep.dim - at);
        if (first == nullptr) return;
        const auto from = static_cast<kvSize>(static_cast<const std::uint8_t*>(first) - marks);
        const void* const end = std::memchr(marks + from, 0, keep.dim - from);
        at = end == nullptr ? keep.dim : static_cast<kvSize>(static_cast<const std::uint8_t*>(end) - marks);
        body(from, at - from);
    }
}

/// The same for those that go: what lies before, between and behind the runs that stay.
template <class Body>
void for_each_deleted_run(const keep_list& keep, Body&& body) {
    kvSize at = 0;
    for_each_kept_run(keep, [&](kvSize first, kvSize count) {
        if (first != at) body(at, first - at);
        at = first + count;
    });
    if (at != keep.dim) body(at, keep.dim - at);
}

} // namespace matrix::internal
