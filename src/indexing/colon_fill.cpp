// Writing the elements of a range to a buffer.
//
//   whole operands up to 2^53   every element is exact. While i * step is exact too, which it is unless the range spans more than
//                               2^53, elements are computed from their numbers; otherwise each from the one before
//   all others                  the first half from the start, the second from the end, and between them the middle one. An end that
//                               misses the stop by no more than two units in the last place, or lies past it, is the stop itself
#include "indexing/colon_fill.hpp"

#include "indexing/colon_count.hpp"
#include "indexing/colon_kernels.hpp"
#include "indexing/numbers.hpp"

#include <boost/numeric/conversion/cast.hpp>

#include <foundation/core/cpu/instruction_set.hpp>
#include <nd/colon.hpp>

#include <cmath>
#include <type_traits>

namespace matrix::internal {
namespace {

constexpr foundation::core::cpu::kernel_family<colon_kernels> family{
    {&colon_kernels_baseline, &colon_kernels_avx2, &colon_kernels_avx512}};

void draw(double* out, std::size_t count, const line& elements) noexcept {
    family.get().doubles(out, count, elements);
}
void draw(float* out, std::size_t count, const line& elements) noexcept {
    family.get().singles(out, count, elements);
}

template <class Element>
void fill_exact(Element* out, std::size_t count, double start, double step) noexcept {
    const double last_number = static_cast<double>(count - 1);
    if (std::fabs(step) * last_number <= largest_exact) {
        draw(out, count, {start, 0, 1, step});
        out[0] = static_cast<Element>(start); // -0 as it is: the sum made it 0
        return;
    }
    double element = start;
    for (std::size_t i = 0; i < count; ++i, element += step) out[i] = static_cast<Element>(element);
}

// Twice the slack is one factor: as two, it would overflow for ends above half of the largest double.
double snapped_end(double end, double step, double start, double stop, double slack) noexcept {
    const double sign = step > 0 ? 1.0 : -1.0;
    const double tolerance = std::fabs(larger_end(start, stop)) * (2 * slack);
    return (end - stop) * sign > -tolerance ? stop : end;
}

double middle_of(double start, double end) noexcept {
    const bool same_side = (start >= 0 && end >= 0) || (start <= 0 && end <= 0);
    return same_side ? (end - start) * 0.5 + start : (end + start) * 0.5;
}

template <class Element>
double last_of(std::size_t count, double start, double step, double stop) noexcept {
    const double computed = count == 1 ? start : static_cast<double>(count - 1) * step + start;
    return snapped_end(computed, step, start, stop, relative_slack(std::is_same_v<Element, float>));
}

template <class Element>
void fill_from_both_ends(Element* out, std::size_t count, double start, double step, double stop) noexcept {
    const double end = last_of<Element>(count, start, step, stop);
    const std::size_t half = count / 2;
    draw(out, half, {start, 0, 1, step});
    if (half != 0) draw(out + (count - half), half, {end, static_cast<double>(half - 1), -1, -step});
    if (count % 2 != 0) out[half] = static_cast<Element>(middle_of(start, end));
}

bool are_exact_whole(double start, double step, double stop) noexcept {
    return is_exact_whole(start) && is_exact_whole(step) && is_exact_whole(stop);
}

template <class Element>
void fill(Element* out, std::size_t count, double start, double step, double stop) noexcept {
    if (count == 0) return;
    if (are_exact_whole(start, step, stop)) return fill_exact(out, count, start, step);
    fill_from_both_ends(out, count, start, step, stop);
}

// In integers, since the way from the start to the element may have 54 bits.
double exact_element(std::size_t k, double start, double step) noexcept {
    if (k == 0) return start; // -0 as it is
    const auto way = static_cast<std::int64_t>(step) * static_cast<std::int64_t>(k);
    return static_cast<double>(static_cast<std::int64_t>(start) + way);
}

// Runs of one: the loops compute an element from its own number.
template <class Element>
void fill_element(Element* out, std::size_t k, std::size_t count, double start, double step,
                  double stop) noexcept {
    if (are_exact_whole(start, step, stop)) {
        *out = static_cast<Element>(exact_element(k, start, step));
        return;
    }
    const std::size_t half = count / 2;
    if (k < half) return draw(out, 1, {start, static_cast<double>(k), 1, step});
    const double end = last_of<Element>(count, start, step, stop);
    if (k >= count - half) return draw(out, 1, {end, static_cast<double>(count - 1 - k), -1, -step});
    *out = static_cast<Element>(middle_of(start, end));
}

// The conversion refuses -1 too, as all below: no count is negative, and nothing is gained by taking one for 0. NaN passes its tests.
std::size_t count_from(double count) {
    return count == count ? boost::numeric_cast<std::uint64_t>(count) : 0;
}

} // namespace

void fill_range(double* out, std::size_t count, double start, double step, double stop) noexcept {
    fill(out, count, start, step, stop);
}

void fill_range(float* out, std::size_t count, double start, double step, double stop) noexcept {
    fill(out, count, start, step, stop);
}

void fill_range_element(double* out, std::size_t k, std::size_t count, double start, double step,
                        double stop) noexcept {
    fill_element(out, k, count, start, step, stop);
}

void fill_range_element(float* out, std::size_t k, std::size_t count, double start, double step,
                        double stop) noexcept {
    fill_element(out, k, count, start, step, stop);
}

void fill_whole(void* out, std::size_t size, std::size_t count, std::uint64_t start,
                std::uint64_t step) noexcept {
    const colon_kernels& kernels = family.get();
    switch (size) {
    case 1:
        return kernels.whole_8(out, count, start, step);
    case 2:
        return kernels.whole_16(out, count, start, step);
    case 4:
        return kernels.whole_32(out, count, start, step);
    default:
        return kernels.whole_64(out, count, start, step);
    }
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

void ndColonop_fill_with_doubles(double* out, double count, double start, double step, double stop) {
    internal::fill_range(out, internal::count_from(count), start, step, stop);
}

void ndColonop_fill_with_singles(float* out, double count, double start, double step, double stop) {
    internal::fill_range(out, internal::count_from(count), start, step, stop);
}

} // namespace matrix::detail::noninlined::nd_array_api
