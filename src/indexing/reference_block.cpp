// x(i, j, ...) of full arrays of plain elements, each subscript the colon, a range, a single double, or a full array of doubles or of 64-bit
// integers that isn't long: its positions are listed on the stack.
//
// Axes that select one position become an offset. Neighbours whose elements follow one another evenly become one axis. What is left is
// copied along the first axis, for every position of those behind.
#include "indexing/reference.hpp"

#include "indexing/folded_dimensions.hpp"
#include "indexing/kernel_choice.hpp"
#include "indexing/plain_source.hpp"
#include "indexing/position_steps.hpp"

#include <array>
#include <cstring>
#include <utility>

namespace matrix::internal {
namespace {

constexpr std::size_t most_axes = 4;

// Room for the positions of one subscript.
using position_buffer = std::array<kvIndex, 512>;

// The positions of one subscript as elements of the array: evenly spaced from the first one on, by a step modulo 2^64; or listed, by a
// step from one position of the dimension to the next.
struct axis {
    std::size_t count;
    std::size_t first;
    std::size_t step;
    const kvIndex* listed; // null where they aren't

    std::size_t offset(std::size_t k) const noexcept {
        return listed != nullptr ? listed[k] * step : first + k * step;
    }
};

[[gnu::noinline]] bool list_within(const ndArray_tag* subscript, std::size_t dim, std::size_t stride,
                                   position_buffer& buffer, axis& to) {
    const bool is_wide = subscript->class_id == ndINT64_CLASS || subscript->class_id == ndUINT64_CLASS;
    if (!is_wide && subscript->class_id != ndDOUBLE_CLASS) return false;
    const std::size_t count = element_count(subscript);
    if (!is_full_and_current(subscript) || is_complex(subscript) || count > buffer.size() || count == 0)
        return false;
    const subscript_kernels& kernels = subscript_loops_here();
    std::uint64_t largest = 0;
    if (!(is_wide ? kernels.wide : kernels.doubles)(subscript->pdata, count, buffer.data(), &largest))
        return false;
    to = {count, 0, stride, buffer.data()};
    return largest <= dim;
}

// stride: the elements from one position of the dimension to the next.
[[gnu::always_inline]] inline bool axis_within(const ndArray_tag* subscript, std::size_t dim,
                                               std::size_t stride, position_buffer& buffer, axis& to) {
    const auto steps = steps_within(subscript, dim);
    if (!steps) return list_within(subscript, dim, stride, buffer, to);
    to = {steps->count, steps->first * stride, steps->step * stride, nullptr};
    return true;
}

template <std::size_t Width>
void copy_listed(const std::byte* from, const axis& run, std::byte* to) noexcept {
    const kvIndex* const positions = run.listed;
    const std::size_t count = run.count;
    const std::size_t bytes = run.step * Width;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * Width, from + positions[i] * bytes, Width);
}

constexpr std::array<void (*)(const std::byte*, const axis&, std::byte*), element_width_count>
    listed_by_width{copy_listed<1>, copy_listed<2>, copy_listed<4>, copy_listed<8>, copy_listed<16>};

// What has to be copied.
class block {
public:
    // The axis that the next subscript is to fill; take() then takes it in.
    axis& next() noexcept { return axes_[count_]; }

    void take() noexcept {
        const axis& taken = axes_[count_];
        if (taken.count == 1) {
            start_ += taken.offset(0);
        } else if (count_ != 0 && continues(axes_[count_ - 1], taken)) {
            start_ += taken.first;
            axes_[count_ - 1].count *= taken.count;
        } else {
            ++count_;
        }
    }

    void copy(const plain_source& source, void* target) noexcept {
        if (count_ == 0) axes_[count_++] = {1, 0, 1, nullptr};
        const axis run = axes_[0];
        const std::size_t size = source.size;
        const std::size_t bytes = run.count * size;
        const std::byte* const from = source.data + run.first * size;
        auto* to = static_cast<std::byte*>(target);
        if (run.listed != nullptr) {
            const auto copy_run = listed_by_width[source.width()];
            for_each_run(count_ - 1, start_, [&](std::size_t offset) {
                copy_run(from + offset * size, run, to);
                to += bytes;
            });
        } else if (run.step == 1) {
            for_each_run(count_ - 1, start_, [&](std::size_t offset) {
                std::memcpy(to, from + offset * size, bytes);
                to += bytes;
            });
        } else {
            const stride_kernel copy_run = reference_loops_here().stride[source.width()];
            for_each_run(count_ - 1, start_, [&](std::size_t offset) {
                copy_run(from + offset * size, run.step, run.count, to);
                to += bytes;
            });
        }
    }

private:
    static bool continues(const axis& last, const axis& next) noexcept {
        return last.listed == nullptr && next.listed == nullptr && last.count * last.step == next.step;
    }

    // Calls body with the offset of each run along the first axis.
    template <class Body>
    void for_each_run(std::size_t k, std::size_t offset, const Body& body) const noexcept {
        if (k == 0) return body(offset);
        const axis along = axes_[k];
        for (std::size_t i = 0; i < along.count; ++i) {
            if (k == 1) {
                body(offset + along.offset(i));
            } else {
                for_each_run(k - 1, offset + along.offset(i), body);
            }
        }
    }

    std::size_t start_ = 0;
    std::size_t count_ = 0;
    std::array<axis, most_axes> axes_; // count_ of them
};

} // namespace

array_ptr reference_block(const plain_source& source, subscript_span subs) {
    if (subs.size() > most_axes) return nullptr;
    const dims_view own = dims_of(source.header);
    std::array<position_buffer, most_axes> buffers;
    std::array<std::size_t, most_axes> dims;
    block selected;
    std::size_t stride = 1;
    std::size_t count = 1;
    for (std::size_t i = 0; i < subs.size(); ++i) {
        const std::size_t dim = folded_dimension(own, subs.size(), i);
        axis& along = selected.next();
        if (!axis_within(subs[i], dim, stride, buffers[i], along)) return nullptr;
        dims[i] = along.count;
        count = saturated_product(count, along.count);
        stride *= dim;
        selected.take();
    }
    if (saturated_product(count, source.size) > address_ceiling) return nullptr;
    array_ptr result = subs.size() == 2 ? create_like(source, dims[0], dims[1])
                                        : create_like(source, std::span(dims).first(subs.size()), count);
    if (!result) return nullptr;
    if (count != 0) selected.copy(source, result->pdata);
    return finished(source, std::move(result));
}

} // namespace matrix::internal
