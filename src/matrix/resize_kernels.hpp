// Moving the elements of a growing array to their new places, by element width.
//
// Column-major order, every dimension grows or stays. Nothing is ever moved to a lower address, and everything runs from the
// end to the start, so old and new place may be one block.
#pragma once

#include "matrix/dimensions.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace matrix::internal {

/// Writes the filler's value into count elements; zeros without a filler.
template <std::size_t Width>
void fill_elements(std::byte* to, std::size_t count, const void* filler) noexcept {
    if (filler == nullptr) {
        std::memset(to, 0, count * Width);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * Width, filler, Width);
}

/// The dimensions beyond the first that differs: how their positions in the new shape lie in the old one.
class outer_positions {
public:
    outer_positions(dims_view old_dims, dims_view new_dims) noexcept
        : old_dims_(old_dims), new_dims_(new_dims) {
        same_ = std::equal(old_dims.begin(), old_dims.end(), new_dims.begin());
        for (const std::size_t dim : new_dims) count_ *= dim;
    }

    std::size_t count() const noexcept { return count_; }

    /// The position in the old shape; false when the old shape doesn't have it.
    bool find_old(std::size_t position, std::size_t& old_position) const noexcept {
        old_position = position;
        if (same_) return true;
        std::size_t stride = 1;
        old_position = 0;
        for (std::size_t i = 0; i < new_dims_.size(); ++i) {
            const std::size_t at = position % new_dims_[i];
            if (at >= old_dims_[i]) return false;
            position /= new_dims_[i];
            old_position += at * stride;
            stride *= old_dims_[i];
        }
        return true;
    }

private:
    dims_view old_dims_;
    dims_view new_dims_;
    std::size_t count_ = 1;
    bool same_;
};

/// Brings the elements from one shape to a larger one of as many dimensions and fills what is new.
template <std::size_t Width>
void relocate_elements(const std::byte* from, dims_view old_dims, std::byte* to, dims_view new_dims,
                       const void* filler) noexcept {
    // Up to and with the first dimension that differs, elements stay together in a run.
    const auto differs = std::mismatch(old_dims.begin(), old_dims.end(), new_dims.begin());
    std::size_t last_of_run = static_cast<std::size_t>(differs.first - old_dims.begin());
    if (last_of_run == old_dims.size()) last_of_run = old_dims.empty() ? 0 : old_dims.size() - 1;
    std::size_t old_run = 1;
    std::size_t new_run = 1;
    for (std::size_t i = 0; i <= last_of_run && i < old_dims.size(); ++i) {
        old_run *= old_dims[i];
        new_run *= new_dims[i];
    }
    const std::size_t outer = std::min(last_of_run + 1, old_dims.size());
    const outer_positions positions(old_dims.subspan(outer), new_dims.subspan(outer));
    for (std::size_t position = positions.count(); position-- > 0;) {
        std::byte* const run = to + position * new_run * Width;
        std::size_t old_position = 0;
        std::size_t moved = 0;
        if (positions.find_old(position, old_position)) {
            moved = old_run;
            std::memmove(run, from + old_position * old_run * Width, moved * Width);
        }
        fill_elements<Width>(run + moved * Width, new_run - moved, filler);
    }
}

} // namespace matrix::internal
