// Subscripts of a deletion, in the order in which they are tried:
//
//   a full logical one as long as the dimension   its false elements stay, without a list of positions in between
//   a range or a single double within it          without a list, too
//   any other                                     converted in full
//
// Of positions side by side a run is deleted. Where they aren't, there are marks, and each position takes its mark away.
#include "indexing/keep_list.hpp"

#include "indexing/position_steps.hpp"
#include "indexing/subscript_set.hpp"
#include "matrix/dimensions.hpp"

#include "errors/raise.hpp"

#include <nd/memory.hpp>

#include <algorithm>

namespace matrix::internal {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;

void mark_deleter::operator()(std::uint8_t* marks) const noexcept { api::ndFreeEx(marks); }

namespace {

mark_block make_marks(kvSize dim) {
    auto* const block = static_cast<std::uint8_t*>(api::ndMallocEx(dim));
    if (block == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
    return mark_block(block);
}

keep_list without_run(kvSize dim, kvSize first, kvSize count) {
    return {dim, dim - count, first, dim - first - count, nullptr};
}

bool is_full_mask_of(const ndArray_tag* subscript, kvSize dim) noexcept {
    return subscript->class_id == ndLOGICAL_CLASS &&
           (subscript->flags & (flag_sparse | flag_colon_object)) == 0 &&
           (subscript->pdata != nullptr || dim == 0) && element_count(subscript) == dim;
}

keep_list kept_by_mask(const ndArray_tag* subscript, kvSize dim) {
    const auto* const bytes = static_cast<const std::uint8_t*>(subscript->pdata);
    const auto stay = static_cast<kvSize>(std::count(bytes, bytes + dim, std::uint8_t{0}));
    if (stay == dim || stay == 0) return without_run(dim, 0, dim - stay);
    keep_list keep{dim, stay, 0, 0, make_marks(dim)};
    std::transform(bytes, bytes + dim, keep.marks.get(),
                   [](std::uint8_t byte) { return static_cast<std::uint8_t>(byte == 0); });
    return keep;
}

bool is_consecutive(const kvIndex* positions, kvSize count) noexcept {
    if (positions[count - 1] - positions[0] != count - 1) return false;
    for (kvSize i = 1; i < count; ++i)
        if (positions[i] != positions[0] + i) return false;
    return true;
}

// Takes marks away. Each tells whether it was there still.
class unmarking {
public:
    explicit unmarking(kvSize dim) : keep_{dim, dim, 0, 0, make_marks(dim)} {
        std::fill_n(keep_.marks.get(), dim, std::uint8_t{1});
    }
    void remove(kvIndex position) noexcept {
        std::uint8_t& mark = keep_.marks[position];
        keep_.count -= mark;
        mark = 0;
    }
    keep_list take() noexcept {
        if (keep_.count == 0) return without_run(keep_.dim, 0, keep_.dim);
        return std::move(keep_);
    }

private:
    keep_list keep_;
};

keep_list kept_beside_list(const kvIndex* positions, kvSize count, kvSize dim) {
    if (is_consecutive(positions, count)) return without_run(dim, positions[0], count);
    unmarking marks(dim);
    for (kvSize i = 0; i < count; ++i) marks.remove(positions[i]);
    return marks.take();
}

keep_list kept_beside_steps(const position_steps& steps, kvSize dim) {
    constexpr std::size_t backwards = ~std::size_t{0};
    if (steps.count <= 1 || steps.step == 1) return without_run(dim, steps.first, steps.count);
    if (steps.step == backwards) return without_run(dim, steps.first - (steps.count - 1), steps.count);
    unmarking marks(dim);
    for (kvSize i = 0; i < steps.count; ++i) marks.remove(steps.first + i * steps.step);
    return marks.take();
}

position_steps steps_of_range(const kvIndex* words, slot_kind kind, kvSize count) noexcept {
    IndexRange range;
    std::memcpy(&range, words, sizeof range);
    return {range.first, kind == slot_kind::ascending ? range.step : 0 - range.step, count};
}

} // namespace

keep_list kept_positions(const ndArray_tag* const* subscript, kvSize dim,
                         const BadSubscriptHandler& handler) {
    if (is_full_mask_of(*subscript, dim)) return kept_by_mask(*subscript, dim);
    if (const auto steps = steps_within(*subscript, dim)) return kept_beside_steps(*steps, dim);
    SubscriptSet set(1, true, false);
    FillSubscriptSlot(set, 0, subscript, dim, handler);
    if (set.info.MaxIndex(0) > dim) errors::raise<TARVEL::legacy_two_part::subsdeldimmismatch>();
    const kvSize count = set.info.NumIndices(0);
    if (count == 0) return without_run(dim, 0, 0);
    const kvIndex* const positions = set.indices[0];
    if (set.kinds[0] == slot_kind::list) return kept_beside_list(positions, count, dim);
    return kept_beside_steps(steps_of_range(positions, set.kinds[0], count), dim);
}

} // namespace matrix::internal
