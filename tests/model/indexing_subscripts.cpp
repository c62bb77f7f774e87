// What subscripts select, by their class.
#include "model/indexing_model.hpp"

#include <bit>
#include <cmath>
#include <limits>

namespace model {
namespace {

constexpr std::size_t index_limit = (std::size_t{1} << 48) - 1;

struct errors {
    std::size_t position;
    bool with_bounds;

    std::string at() const { return "(" + std::to_string(position) + ")"; }
    [[noreturn]] void invalid() const { throw refusal{"badTypeIndices" + at()}; }
    [[noreturn]] void too_large() const {
        throw refusal{with_bounds ? "indexExceedsDims" + at() : std::string("pmaxsize")};
    }
};

bool is_integer_class(ndClassID id) { return id >= ndINT8_CLASS && id <= ndUINT64_CLASS; }

bool can_be_index(ndClassID id) {
    return id == ndCHAR_CLASS || (id >= ndDOUBLE_CLASS && id <= ndUINT64_CLASS);
}

void add(selection& chosen, std::size_t position) {
    chosen.positions.push_back(position);
    chosen.max = std::max(chosen.max, position + 1);
}

// One value, counted from 1, to a position counted from 0.
std::size_t position_of(ndClassID id, long double number, const errors& raise) {
    if (is_integer_class(id) || id == ndCHAR_CLASS) {
        if (number < 1) raise.invalid();
        if (number > static_cast<long double>(index_limit)) raise.too_large();
        return static_cast<std::size_t>(number) - 1;
    }
    if (!std::isfinite(number) || number != std::floor(number) || number < 1) raise.invalid();
    if (number > static_cast<long double>(index_limit)) raise.too_large();
    return static_cast<std::size_t>(number) - 1;
}

selection select_numbers(const value& subscript, const errors& raise) {
    selection chosen;
    if (subscript.complex) raise.invalid();
    if (!can_be_index(subscript.class_id)) return chosen;
    if (subscript.sparse) {
        for (const element& one : subscript.elements) {
            if (number_of(subscript.class_id, one.re) == 0) raise.invalid();
        }
    }
    for (const element& one : subscript.elements)
        add(chosen, position_of(subscript.class_id, number_of(subscript.class_id, one.re), raise));
    return chosen;
}

selection select_true(const value& mask) {
    selection chosen;
    for (std::size_t i = 0; i < mask.elements.size(); ++i) {
        if (mask.elements[i].re != 0) add(chosen, i);
    }
    return chosen;
}

bool is_whole(double x) { return x == std::floor(x); }

__extension__ typedef __int128 integer; // differences of 64-bit numbers fit

integer saturated(double x) {
    if (x >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
    if (x <= -0x1p63) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(x);
}

// first and stop count from 0.
selection select_whole_range(integer first, integer step, integer stop, const errors& raise) {
    selection chosen;
    if (step == 0 || (stop > first && step < 0) || (stop < first && step > 0)) return chosen;
    if (first < 0) raise.invalid();
    const integer count = (stop - first) / step + 1;
    const integer last = first + (count - 1) * step;
    if (last < 0) raise.invalid();
    if (first >= integer{index_limit} || last >= integer{index_limit}) raise.too_large();
    for (integer at = first; chosen.count() < static_cast<std::size_t>(count); at += step)
        add(chosen, static_cast<std::size_t>(at));
    return chosen;
}

// With fractions: the elements, rounded. All numbers here are exact in binary.
selection select_rounded_range(double first, double step, double stop, const errors& raise) {
    selection chosen;
    if (step == 0 || (stop - first) / step < 0) return chosen;
    const auto count = static_cast<std::size_t>(std::floor((stop - first) / step)) + 1;
    const double last = first + static_cast<double>(count - 1) * step;
    if (first < -0.5 || last < -0.5) raise.invalid();
    for (std::size_t i = 0; i < count; ++i)
        add(chosen, static_cast<std::size_t>(std::trunc(first + static_cast<double>(i) * step + 0.5)));
    return chosen;
}

selection select_range(const range& r, const errors& raise) {
    const double first = r.start - 1;
    const double stop = r.stop - 1;
    if (!std::isfinite(first) || !std::isfinite(r.step) || !std::isfinite(stop))
        throw refusal{"nonFiniteEndpoint"};
    if (is_whole(first) && is_whole(stop) && is_whole(r.step))
        return select_whole_range(saturated(first), saturated(r.step), saturated(stop), raise);
    return select_rounded_range(first, r.step, stop, raise);
}

std::size_t count_of_range(const range& r) {
    if (!std::isfinite(r.start) || !std::isfinite(r.step) || !std::isfinite(r.stop))
        throw refusal{"nonFiniteEndpoint"};
    if (r.step == 0 || (r.stop - r.start) / r.step < 0) return 0;
    return static_cast<std::size_t>(std::floor((r.stop - r.start) / r.step)) + 1;
}

template <class T>
std::uint64_t bits_as(long double number) {
    const T narrow = static_cast<T>(number);
    if constexpr (sizeof(T) == 8) {
        return std::bit_cast<std::uint64_t>(narrow);
    } else if constexpr (sizeof(T) == 4) {
        return std::bit_cast<std::uint32_t>(narrow);
    } else if constexpr (sizeof(T) == 2) {
        return std::bit_cast<std::uint16_t>(narrow);
    } else {
        return std::bit_cast<std::uint8_t>(narrow);
    }
}

} // namespace

std::uint64_t bits_of(ndClassID class_id, long double number) {
    switch (class_id) {
    case ndDOUBLE_CLASS:
        return bits_as<double>(number);
    case ndSINGLE_CLASS:
        return bits_as<float>(number);
    case ndINT8_CLASS:
        return bits_as<std::int8_t>(number);
    case ndINT16_CLASS:
        return bits_as<std::int16_t>(number);
    case ndINT32_CLASS:
        return bits_as<std::int32_t>(number);
    case ndINT64_CLASS:
        return bits_as<std::int64_t>(number);
    default: // unsigned, text, truth, and what a slot holds
        return static_cast<std::uint64_t>(number);
    }
}

long double number_of(ndClassID class_id, std::uint64_t bits) {
    switch (class_id) {
    case ndDOUBLE_CLASS:
        return std::bit_cast<double>(bits);
    case ndSINGLE_CLASS:
        return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    case ndINT8_CLASS:
        return static_cast<std::int8_t>(bits);
    case ndINT16_CLASS:
        return static_cast<std::int16_t>(bits);
    case ndINT32_CLASS:
        return static_cast<std::int32_t>(bits);
    case ndINT64_CLASS:
        return static_cast<std::int64_t>(bits);
    default:
        return static_cast<long double>(bits);
    }
}

void selection::take_first(std::size_t length) {
    positions.clear();
    for (std::size_t i = 0; i < length; ++i) positions.push_back(i);
    max = length;
}

selection select(const value& subscript, std::size_t dim, std::size_t position, bool with_bounds) {
    if (subscript.is_colon()) {
        selection all;
        all.is_colon = true;
        all.open = dim == 0;
        all.take_first(dim);
        return all;
    }
    const errors raise{position, with_bounds};
    if (subscript.as_range) return select_range(*subscript.as_range, raise);
    if (subscript.class_id == ndLOGICAL_CLASS) return select_true(subscript);
    return select_numbers(subscript, raise);
}

std::optional<std::size_t> count_selected(const value& a, const value& subscript, std::size_t position,
                                          std::size_t nsubs) {
    const std::size_t n = a.shape.size();
    if (subscript.is_colon()) {
        if (position > n) return a.elements.empty() ? 0 : 1;
        return position < nsubs ? a.shape[position - 1] : folded(a.shape, position)[position - 1];
    }
    if (subscript.as_range) return count_of_range(*subscript.as_range);
    if (subscript.class_id == ndLOGICAL_CLASS) return select_true(subscript).count();
    if (can_be_index(subscript.class_id)) return subscript.elements.size();
    return std::nullopt;
}

place scalar_place(const value& a, subscripts subs, std::size_t field, bool with_bounds) {
    if (subs.empty()) throw refusal{"nindexIsZero"};
    dims seen = folded(a.shape, subs.size());
    std::vector<std::size_t> values;
    for (std::size_t i = 0; i < subs.size(); ++i) {
        const value& subscript = subs[i];
        const bool can = subscript.class_id == ndLOGICAL_CLASS || can_be_index(subscript.class_id);
        if (!subscript.as_range && !can) throw refusal{"badTypeIndices(" + std::to_string(i + 1) + ")"};
        values.push_back(
            subscript.is_colon() ? 1 : select(subscript, seen[i], i + 1, with_bounds).positions.at(0) + 1);
    }
    if (field != 0) {
        seen.insert(seen.begin(), a.fields.size());
        values.insert(values.begin(), field);
    }
    place found{0, 0, values};
    std::size_t stride = 1;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] > seen[i]) return {0, i + 1, values};
        found.offset += (values[i] - 1) * stride;
        stride *= seen[i];
    }
    return found;
}

} // namespace model
