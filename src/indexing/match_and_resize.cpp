// The shape of a right-hand side against what the subscripts of an assignment select. Dimensions of 1 don't count on either side.
//
// An open slot is a colon of a dimension of size 0 on a left side whose dimensions are all 0: it takes its length from the right-hand
// side. All other slots are fixed. Cases, in the order in which they are tried:
//
//   scalar         fits any selection; open slots take 1
//   one subscript  the counts agree; an open slot takes the count
//   several        open slots take the dimensions at their places, when the fixed slots have theirs and no dimension is left over; else
//                  open slots and fixed ones other than 1 take the dimensions other than 1 in turn, and open ones 1 when there are no more.
//                  Then the lengths other than 1 agree, in order. Two selections of nothing agree whatever their shapes
#include "indexing/folded_dimensions.hpp"
#include "indexing/index_info.hpp"

#include "errors/raise.hpp"

#include <span>

namespace Korvane::engine {
namespace {

using matrix::internal::saturated_count;

[[noreturn]] void raise_mismatch() {
    matrix::errors::raise<TARVEL::legacy_two_part::subsassigndimmismatch>();
}

/// The entries of a list that aren't 1, in their order.
class other_than_one {
public:
    explicit other_than_one(std::span<const kvSize> all) noexcept : rest_(all) { skip_ones(); }

    bool at_end() const noexcept { return rest_.empty(); }
    kvSize take() noexcept {
        const kvSize entry = rest_.front();
        rest_ = rest_.subspan(1);
        skip_ones();
        return entry;
    }

private:
    void skip_ones() noexcept {
        while (!rest_.empty() && rest_.front() == 1) rest_ = rest_.subspan(1);
    }

    std::span<const kvSize> rest_;
};

bool same_but_for_ones(std::span<const kvSize> a, std::span<const kvSize> b) noexcept {
    other_than_one left(a);
    other_than_one right(b);
    while (!left.at_end() && !right.at_end()) {
        if (left.take() != right.take()) return false;
    }
    return left.at_end() && right.at_end();
}

class matcher {
public:
    matcher(IndexInfo& info, bool lhs_all_zero) noexcept
        : info_(info),
          slots_(info.num.size() - info.start),
          rhs_(info.rhs.dims, info.rhs.ndims),
          lhs_all_zero_(lhs_all_zero) {}

    std::size_t rhs_count() const noexcept { return saturated_count(rhs_); }

    void match(std::size_t count) {
        if (slots_ == 1) {
            open_all(count);
            if (info_.NumIndices(0) != count) raise_mismatch();
            return;
        }
        if (has_open()) {
            if (fixed_have_their_dims()) {
                open_by_position();
            } else {
                open_in_order();
            }
        }
        const bool both_empty = count == 0 && selected_count() == 0;
        if (!both_empty && !same_but_for_ones(selected(), rhs_)) raise_mismatch();
    }

    void open_all(kvSize length) noexcept {
        for (std::size_t i = 0; i < slots_; ++i) {
            if (is_open(i)) open(i, length);
        }
    }

    std::size_t selected_count() const noexcept { return saturated_count(selected()); }

private:
    bool is_open(std::size_t i) const noexcept {
        return lhs_all_zero_ && info_.IsColonCorrespondingToZeroDim(i);
    }
    bool has_open() const noexcept {
        for (std::size_t i = 0; i < slots_; ++i) {
            if (is_open(i)) return true;
        }
        return false;
    }
    void open(std::size_t i, kvSize length) noexcept {
        info_.num[info_.start + i] = length;
        info_.max[info_.start + i] = length;
    }
    kvSize rhs_dim(std::size_t i) const noexcept { return i < rhs_.size() ? rhs_[i] : 1; }
    std::span<const kvSize> selected() const noexcept { return {info_.num.data() + info_.start, slots_}; }

    bool fixed_have_their_dims() const noexcept {
        for (std::size_t i = slots_; i < rhs_.size(); ++i) {
            if (rhs_[i] != 1) return false;
        }
        for (std::size_t i = 0; i < slots_; ++i) {
            if (!is_open(i) && info_.NumIndices(i) != rhs_dim(i)) return false;
        }
        return true;
    }
    void open_by_position() noexcept {
        for (std::size_t i = 0; i < slots_; ++i) {
            if (is_open(i)) open(i, rhs_dim(i));
        }
    }

    void open_in_order() {
        other_than_one dims(rhs_);
        bool any_taken = false;
        for (std::size_t i = 0; i < slots_; ++i) {
            if (is_open(i)) {
                any_taken = any_taken || !dims.at_end();
                open(i, dims.at_end() ? 1 : dims.take());
            } else if (!info_.IsSingleton(i) && (dims.at_end() || dims.take() != info_.NumIndices(i))) {
                raise_mismatch();
            }
        }
        if (!dims.at_end() || !any_taken) raise_mismatch();
    }

    IndexInfo& info_;
    std::size_t slots_;
    std::span<const kvSize> rhs_;
    bool lhs_all_zero_;
};

} // namespace

void IndexInfo::MatchAndResize(bool lhsAllDimsZero, bool lhsOpaque, bool& copyNeeded) {
    if (lhsOpaque || rhs.indexingOpaque) return;
    matcher slots(*this, lhsAllDimsZero);
    const std::size_t count = slots.rhs_count();
    if (count == 1) return slots.open_all(1);
    slots.match(count);
    if (count == 0 || slots.selected_count() == 0) copyNeeded = false;
}

} // namespace Korvane::engine
