// How many elements a range has.
//
// Floating point, in the order in which cases are tried:
//
//   step 1 from a whole start   the whole numbers up to stop
//   NaN among the operands      NaN
//   no way from start to stop   0
//   whole operands up to 2^53   the exact quotient
//   all others                  the rounded quotient, and one more unless it ends past stop by more than the slack of the class.
//                               Halved operands keep sums and differences of large ones finite. Where a half isn't exact, as of
//                               an odd multiple of the smallest double, the operands themselves are taken. That no half is 0
//                               isn't enough: half a step of 3 such units becomes 2, and a quarter of the elements goes missing
//
// Integers of 64 bits: distances are unsigned, so no operands overflow.
#include "indexing/colon_count.hpp"

#include "indexing/numbers.hpp"
#include "matrix/size_check.hpp"

#include <nd/colon.hpp>

namespace matrix::internal {
namespace {

constexpr double two_to_64 = 18446744073709551616.0;

constexpr whole_range no_elements{0, 0, 0};

whole_range along(std::uint64_t start, std::uint64_t distance, bool up, std::uint64_t magnitude) noexcept {
    if (magnitude == 0) return no_elements;
    return {static_cast<double>(distance / magnitude) + 1, start, up ? magnitude : 0 - magnitude};
}

template <class T>
std::uint64_t distance_between(T start, T stop) noexcept {
    const auto from = static_cast<std::uint64_t>(start);
    const auto to = static_cast<std::uint64_t>(stop);
    return start <= stop ? to - from : from - to;
}

template <class T>
bool leads_away(T start, bool up, T stop) noexcept {
    return up ? start > stop : start < stop;
}

// The quotient of two whole numbers whose difference may have 54 bits. In integers: a quotient of doubles is rounded, up to the
// next whole number where it lies closely below, and would count an element beyond stop.
double exact_count(double start, double step, double stop) noexcept {
    const auto distance = static_cast<std::int64_t>(stop) - static_cast<std::int64_t>(start);
    return static_cast<double>(distance / static_cast<std::int64_t>(step) + 1);
}

double tolerant_count(double start, double step, double stop, double slack) noexcept {
    const double sign = step > 0 ? 1.0 : -1.0;
    const double half_start = start * 0.5;
    const double half_stop = stop * 0.5;
    const double half_step = step * 0.5;
    double count = rounded((half_stop - half_start) / half_step);
    // NaN isn't past the slack.
    if (!((half_step * count + half_start - half_stop) * sign > slack)) count += 1;
    if (half_start * 2 == start && half_step * 2 == step && half_stop * 2 == stop) return count;
    count = rounded((stop - start) / step);
    return (count * step + start - stop) * sign > 2 * slack ? count : count + 1;
}

} // namespace

double rounded(double x) noexcept {
    const double magnitude = std::fabs(x);
    if (magnitude < 0.5) return std::copysign(0.0, x);
    if (magnitude <= 0x1p52) return std::copysign(whole_toward_zero(magnitude + 0.5), x);
    return x;
}

double larger_end(double start, double stop) noexcept {
    return std::fabs(start) > std::fabs(stop) ? start : stop;
}

std::size_t saturated_count(double count) noexcept {
    if (count >= static_cast<double>(address_ceiling)) return address_ceiling;
    return truncated<std::uint64_t>(count);
}

template <class T>
whole_range whole_range_of(T start, T step, T stop) noexcept {
    const bool up = step > 0;
    if (leads_away(start, up, stop)) return no_elements;
    const auto bits = static_cast<std::uint64_t>(step);
    return along(static_cast<std::uint64_t>(start), distance_between(start, stop), up, up ? bits : 0 - bits);
}

template <class T>
whole_range whole_range_of(T start, double step, T stop) noexcept {
    const bool up = step > 0;
    if (step != step || leads_away(start, up, stop)) return no_elements;
    const double magnitude = std::fabs(step);
    if (magnitude >= two_to_64) return {1, static_cast<std::uint64_t>(start), 0};
    return along(static_cast<std::uint64_t>(start), distance_between(start, stop), up,
                 static_cast<std::uint64_t>(magnitude));
}

template whole_range whole_range_of(long long, long long, long long) noexcept;
template whole_range whole_range_of(long long, double, long long) noexcept;
template whole_range whole_range_of(unsigned long long, unsigned long long, unsigned long long) noexcept;
template whole_range whole_range_of(unsigned long long, double, unsigned long long) noexcept;

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

double ndColonop_size(double start, double step, double stop, ndClassID cls) {
    using namespace internal;
    if (step == 1.0 && is_exact_whole(start)) return start > stop ? 0.0 : whole_below(stop) - start + 1;
    if (start != start || step != step || stop != stop) return start + step + stop;
    if (step == 0) return 0;
    if ((stop > start && step < 0) || (start > stop && step > 0)) return 0;
    if (is_exact_whole(start) && is_exact_whole(step) && is_exact_whole(stop))
        return exact_count(start, step, stop);
    return tolerant_count(start, step, stop,
                          std::fabs(larger_end(start, stop)) * relative_slack(cls == ndSINGLE_CLASS));
}

} // namespace matrix::detail::noninlined::nd_array_api
