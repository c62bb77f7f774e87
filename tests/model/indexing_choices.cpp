// Choosing operands out of bytes.
#include "model/indexing_choices.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace model {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

// Many different elements out of one choice.
std::uint64_t mixed(std::uint64_t seed, std::uint64_t i) {
    std::uint64_t z = seed * 0x9E3779B97F4A7C15U + i * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
}

bool is_numeric(ndClassID id) { return id >= ndDOUBLE_CLASS && id <= ndUINT64_CLASS; }
bool is_float(ndClassID id) { return id == ndDOUBLE_CLASS || id == ndSINGLE_CLASS; }
bool can_be_sparse(ndClassID id) { return is_float(id) || id == ndLOGICAL_CLASS; }

// Small numbers, zeros among them; a fifth of the seeds give the values at which classes end.
std::uint64_t number_bits(ndClassID id, std::uint64_t seed, std::uint64_t i) {
    const std::uint64_t chosen = mixed(seed, i);
    if (id == ndLOGICAL_CLASS) return chosen & 1U;
    if (id == ndCHAR_CLASS) return 'a' + chosen % 26;
    if (!is_numeric(id)) return chosen % 8; // a slot
    if (seed % 5 != 4) return bits_of(id, static_cast<long double>(chosen % 10));
    if (is_float(id)) {
        constexpr double odd[] = {-0.0, 0.0, 1.5, -3.25, infinity, -infinity, not_a_number, 0x1p100};
        return bits_of(id, odd[chosen % std::size(odd)]);
    }
    const std::size_t bits = 8 * element_size(id, false);
    return chosen >> (64 - bits);
}

element made_element(ndClassID id, bool complex, std::size_t fields, std::uint64_t seed, std::uint64_t i) {
    element one;
    for (std::size_t field = 0; field < fields; ++field)
        one.slots[field] = number_bits(ndCELL_CLASS, seed, i * 4 + field);
    if (id == ndSTRUCT_CLASS || id == ndOBJECT_CLASS) return one;
    one.re = number_bits(id, seed, i);
    // Half of the imaginary parts are zero, so that parts of a complex array are real.
    if (complex && mixed(seed + 1, i) % 2 == 0) one.im = number_bits(id, seed + 2, i);
    return one;
}

void make_sparse(value& v) {
    v.sparse = true;
    for (element& one : v.elements) {
        if (number_of(v.class_id, one.re) == 0 && number_of(v.class_id, one.im) == 0) one = {};
    }
}

value numbers(ndClassID id, const dims& shape, const std::vector<long double>& elements) {
    value made = blank_value(id, false, shape);
    for (std::size_t i = 0; i < made.elements.size(); ++i)
        made.elements[i].re = bits_of(id, elements[i % elements.size()]);
    return made;
}

constexpr ndClassID index_classes[] = {ndDOUBLE_CLASS, ndDOUBLE_CLASS, ndDOUBLE_CLASS, ndSINGLE_CLASS,
                                       ndINT8_CLASS,   ndUINT8_CLASS,  ndINT16_CLASS,  ndUINT16_CLASS,
                                       ndINT32_CLASS,  ndUINT32_CLASS, ndINT64_CLASS,  ndUINT64_CLASS,
                                       ndINT64_CLASS,  ndCHAR_CLASS};

// Row, column or matrix with so many elements.
dims arranged(choices& from, std::size_t count) {
    switch (from.below(5)) {
    case 3:
        return {count, 1};
    case 4:
        return count % 2 == 0 && count != 0 ? dims{count / 2, 2} : dims{1, 1, count};
    default:
        return {1, count};
    }
}

// Positions of a dimension, counted from 1; up to beyond more than there are.
value index_list(choices& from, std::size_t dim, std::size_t beyond) {
    constexpr std::size_t lengths[] = {1, 2, 3, 1, 5, 8, 17, 40, 70};
    const ndClassID given = from.one_of(index_classes);
    const ndClassID id = dim + beyond > 120 ? ndDOUBLE_CLASS : given; // int8 ends at 127
    const std::size_t chosen = from.below(10);
    const std::size_t count =
        chosen == std::size(lengths) ? std::min<std::size_t>(dim, 120) : lengths[chosen];
    const unsigned pattern = from.below(5);
    const std::uint64_t seed = from.below(250);
    const std::size_t most = std::max<std::size_t>(std::min<std::size_t>(dim + beyond, 120), 1);
    std::vector<long double> list(std::max<std::size_t>(count, 1));
    for (std::size_t i = 0; i < list.size(); ++i) {
        switch (pattern) {
        case 0: // ascending from anywhere, around the end
            list[i] = static_cast<long double>((seed + i) % most + 1);
            break;
        case 1: // descending
            list[i] = static_cast<long double>(most - (seed + i) % most);
            break;
        case 2: // the same again and again
            list[i] = static_cast<long double>(seed % most + 1);
            break;
        default:
            list[i] = static_cast<long double>(mixed(seed, i) % most + 1);
        }
    }
    if (beyond != 0) list[seed % list.size()] = static_cast<long double>(dim + 1 + seed % beyond);
    return numbers(id, arranged(from, count), list);
}

value mask(choices& from, std::size_t dim) {
    constexpr int more[] = {0, 0, 0, 0, -1, 1, 3, 9};
    const int by = from.one_of(more);
    const std::size_t length =
        by < 0 && dim == 0 ? 0 : std::min<std::size_t>(dim, 320) + static_cast<std::size_t>(by);
    value made = blank_value(ndLOGICAL_CLASS, false, arranged(from, length));
    const std::uint64_t seed = from.below(250);
    const unsigned density = from.below(4); // half, none, all, few
    for (std::size_t i = 0; i < made.elements.size(); ++i) {
        const bool within = i < dim || seed % 16 == 15;
        const std::uint64_t chance = mixed(seed, i) % 8;
        const bool set = density == 0 ? chance < 4 : density == 2 || (density == 3 && chance == 0);
        made.elements[i].re = within && set ? 1 : 0;
    }
    return made;
}

value colon_object(choices& from, double start, double step, double stop) {
    constexpr ndClassID classes[] = {ndDOUBLE_CLASS, ndDOUBLE_CLASS, ndDOUBLE_CLASS,
                                     ndINT32_CLASS,  ndSINGLE_CLASS, ndINT8_CLASS,
                                     ndUINT16_CLASS, ndINT64_CLASS,  ndUINT64_CLASS};
    value made;
    made.class_id = from.one_of(classes);
    const bool holds =
        made.class_id == ndDOUBLE_CLASS || (start >= 0 && start < 120 && stop >= 0 && stop < 120 &&
                                            start == std::trunc(start) && stop == std::trunc(stop));
    const bool wide = made.class_id == ndINT64_CLASS || made.class_id == ndUINT64_CLASS;
    // Of the wide classes a fraction of the step counts for positions only, not for the elements.
    if (!holds || (wide && step != std::trunc(step))) made.class_id = ndDOUBLE_CLASS;
    made.as_range = range{start, step, stop};
    return made;
}

value span_of(choices& from, std::size_t dim) {
    const auto last = static_cast<unsigned>(std::min<std::size_t>(dim, 250));
    double start = 1 + from.below(last + 1);
    double stop = start + from.below(static_cast<unsigned>(last + 2 - start > 0 ? last + 2 - start : 1)) - 1;
    double step = 1 + from.below(3);
    if (from.seldom(3)) {
        std::swap(start, stop);
        step = -step;
    }
    return colon_object(from, start, step, stop);
}

value odd_span(choices& from, std::size_t dim) {
    const double d = static_cast<double>(std::min<std::size_t>(dim, 250));
    const range table[] = {{1.5, 1, d},
                           {1, 0.5, d},
                           {d, -0.75, 1},
                           {1, 1, d + 2},
                           {0, 1, d},
                           {-1, 1, d},
                           {1, 0, d},
                           {3, -1, -2},
                           {5, -4, -1},
                           {1, 1, infinity},
                           {0.5, 1, 2.5},
                           {not_a_number, 1, 1},
                           {1, 1, 0},
                           {2, -3, 1},
                           {0.75, 1, 2},
                           {1, 2, d},
                           {281474976710655.0, 1, 281474976710657.0},
                           {d + 2, 1, d},
                           {1, -infinity, 0}};
    const range& chosen = from.one_of(table);
    return colon_object(from, chosen.start, chosen.step, chosen.stop);
}

value no_index(choices& from) {
    constexpr double bad[] = {0,      -1,     1.5,     infinity, -infinity, not_a_number,
                              0x1p48, 0x1p60, -0x1p60, 0x1p100};
    const ndClassID id = from.one_of(index_classes);
    const std::size_t count = 1 + from.below(20);
    std::vector<long double> list(count, 1);
    long double worst = from.one_of(bad);
    if (id == ndINT64_CLASS || id == ndUINT64_CLASS) {
        worst = worst >= 0x1p48 ? 0x1p60L : 0;
    } else if (!is_float(id)) {
        worst = 0;
    }
    list[from.below(20) % count] = worst;
    return numbers(id, arranged(from, count), list);
}

value nothing(choices& from) {
    static const dims shapes[] = {{0, 0}, {1, 0}, {0, 1}, {0, 3}, {2, 0, 3}};
    constexpr ndClassID classes[] = {ndDOUBLE_CLASS, ndDOUBLE_CLASS, ndLOGICAL_CLASS, ndINT8_CLASS,
                                     ndCHAR_CLASS};
    const ndClassID id = from.one_of(classes);
    return blank_value(id, false, from.one_of(shapes));
}

value no_subscript(choices& from) {
    constexpr ndClassID classes[] = {ndCELL_CLASS, ndSTRUCT_CLASS, ndUNKNOWN_CLASS};
    const unsigned chosen = from.below(4);
    if (chosen == 3) {
        value made = numbers(ndDOUBLE_CLASS, {1, 2}, {1});
        made.complex = true;
        return made;
    }
    if (classes[chosen] == ndUNKNOWN_CLASS) return value{};
    return blank_value(classes[chosen], false, {1, 2});
}

value sparse_subscript(choices& from, std::size_t dim) {
    value made = from.below(2) == 0 ? mask(from, dim) : index_list(from, dim, 0);
    if (!can_be_sparse(made.class_id)) made = numbers(ndDOUBLE_CLASS, made.shape, {1});
    if (made.shape.size() > 2) made.shape = {1, count_of(made.shape)};
    if (made.class_id == ndDOUBLE_CLASS && !made.elements.empty() && from.seldom(4)) made.elements[0].re = 0;
    make_sparse(made);
    return made;
}

value any_subscript(choices& from, std::size_t dim) {
    switch (from.below(24)) {
    case 0:
    case 1:
        return numbers(ndDOUBLE_CLASS, {1, 1},
                       {static_cast<long double>(dim == 0 ? 1 : from.below(250) % dim + 1)});
    case 2:
    case 3:
    case 4:
        return colon();
    case 5:
    case 6:
    case 7:
    case 8:
        return index_list(from, dim, 0);
    case 9:
    case 10:
    case 11:
        return span_of(from, dim);
    case 12:
    case 13:
    case 14:
        return mask(from, dim);
    case 15:
    case 16:
        return index_list(from, dim, 1 + from.below(3));
    case 17:
        return odd_span(from, dim);
    case 18:
        return nothing(from);
    case 19:
        return no_index(from);
    case 20:
        return sparse_subscript(from, dim);
    case 21:
        return no_subscript(from);
    case 22: { // two colons, which are numbers
        value text = blank_value(ndCHAR_CLASS, false, {1, 2});
        for (element& one : text.elements) one.re = u':';
        return text;
    }
    default:
        return index_list(from, dim, 0);
    }
}

// How many positions each subscript selects; what a colon finds no dimension for is chosen.
std::optional<dims> selected_counts(choices& from, const value& lhs, subscripts subs) {
    const dims seen = folded(lhs.shape, subs.size());
    dims counts;
    try {
        for (std::size_t i = 0; i < subs.size(); ++i) {
            const selection one = select(subs[i], seen[i], i + 1, false);
            counts.push_back(one.open ? from.below(4) : one.count());
        }
    } catch (const refusal&) {
        return std::nullopt;
    }
    return counts;
}

dims fitting_shape(choices& from, const dims& counts) {
    if (counts.size() == 1) return arranged(from, counts[0]);
    if (!from.seldom(3)) return counts;
    dims shape; // the same but for dimensions of 1
    for (const std::size_t count : counts) {
        if (count == 1) continue;
        shape.push_back(count);
        if (from.seldom(3)) shape.push_back(1);
    }
    if (shape.size() < 2) shape.insert(from.below(2) == 0 ? shape.begin() : shape.end(), 1);
    return shape;
}

} // namespace

unsigned choices::below(unsigned end) {
    if (rest_.empty()) return 0;
    const unsigned chosen = rest_.front() % end;
    rest_ = rest_.subspan(1);
    return chosen;
}

ndClassID any_class(choices& from) {
    constexpr ndClassID classes[] = {
        ndDOUBLE_CLASS, ndDOUBLE_CLASS,  ndDOUBLE_CLASS,  ndDOUBLE_CLASS, ndSINGLE_CLASS, ndINT8_CLASS,
        ndUINT8_CLASS,  ndINT16_CLASS,   ndUINT16_CLASS,  ndINT32_CLASS,  ndUINT32_CLASS, ndINT64_CLASS,
        ndUINT64_CLASS, ndLOGICAL_CLASS, ndLOGICAL_CLASS, ndCHAR_CLASS,   ndCELL_CLASS,   ndCELL_CLASS,
        ndCELL_CLASS,   ndSTRUCT_CLASS,  ndSTRUCT_CLASS,  ndSTRUCT_CLASS, ndOBJECT_CLASS};
    return from.one_of(classes);
}

dims any_shape(choices& from) {
    static const dims shapes[] = {{1, 1},    {1, 3},       {2, 3},    {3, 1},  {0, 0},    {4, 4},
                                  {1, 5},    {1, 0},       {0, 3},    {3, 0},  {2, 1, 3}, {2, 3, 2},
                                  {1, 1, 4}, {2, 2, 2, 2}, {0, 0, 0}, {1, 17}, {33, 1},   {1, 70},
                                  {5, 7},    {2, 0, 2},    {3, 1, 0}, {16, 3}, {1, 256},  {1, 300},
                                  {0, 1},    {1, 1, 1, 3}, {9, 8},    {65, 2}};
    return from.one_of(shapes);
}

std::vector<std::string> any_fields(choices& from) {
    std::vector<std::string> fields{"a", "b", "c"};
    constexpr std::size_t counts[] = {1, 2, 3, 0, 2, 1};
    fields.resize(from.one_of(counts));
    return fields;
}

element any_element(choices& from, ndClassID class_id, bool complex, std::size_t fields) {
    return made_element(class_id, complex, fields, from.below(250), from.below(250));
}

value any_value_of(choices& from, ndClassID class_id, const dims& shape,
                   const std::vector<std::string>& fields) {
    const bool with_fields = class_id == ndSTRUCT_CLASS || class_id == ndOBJECT_CLASS;
    const bool complex = is_numeric(class_id) && from.seldom(4);
    value made = blank_value(class_id, complex, shape, with_fields ? fields : std::vector<std::string>{});
    const std::uint64_t seed = from.below(250);
    for (std::size_t i = 0; i < made.elements.size(); ++i)
        made.elements[i] = made_element(class_id, complex, made.fields.size(), seed, i);
    if (can_be_sparse(class_id) && made.shape.size() == 2 && from.seldom(6)) make_sparse(made);
    return made;
}

value any_value(choices& from) {
    if (from.seldom(16)) return value{};
    const ndClassID id = any_class(from);
    value made = any_value_of(from, id, any_shape(from), any_fields(from));
    if (made.elements.empty() && made.shape.size() == 2 && !made.sparse) made.bracket = from.seldom(3);
    return made;
}

std::vector<value> any_subscripts(choices& from, const value& a) {
    const unsigned rank = static_cast<unsigned>(a.shape.size());
    const unsigned counts[] = {1, 2, rank, 1, rank, 2, 3, rank + 1};
    const unsigned nsubs = from.one_of(counts);
    const dims seen = folded(a.shape, nsubs);
    std::vector<value> subs;
    for (const std::size_t dim : seen) subs.push_back(any_subscript(from, dim));
    return subs;
}

value any_scalar_subscript(choices& from, std::size_t dim) {
    const std::size_t index = from.below(250) % (dim + 2) + 1;
    switch (from.below(6)) {
    case 4: {
        value one_true = blank_value(ndLOGICAL_CLASS, false, {1, index});
        one_true.elements[index - 1].re = 1;
        return one_true;
    }
    case 5:
        return colon_object(from, static_cast<double>(index), 1, static_cast<double>(index));
    default:
        return numbers(index < 120 ? from.one_of(index_classes) : ndDOUBLE_CLASS, {1, 1},
                       {static_cast<long double>(index)});
    }
}

value any_right_side(choices& from, const value& lhs, subscripts subs) {
    const bool free_class = lhs.class_id == ndUNKNOWN_CLASS || lhs.bracket;
    const ndClassID id = free_class || from.seldom(24) ? any_class(from) : lhs.class_id;
    const std::vector<std::string> fields =
        free_class || from.seldom(24) || !lhs.is_struct() ? any_fields(from) : lhs.fields;
    const unsigned kind = from.below(16);
    if (kind >= 5 && kind < 11) {
        if (const std::optional<dims> counts = selected_counts(from, lhs, subs)) {
            const dims shape = fitting_shape(from, *counts);
            if (count_of(shape) <= 5000) return any_value_of(from, id, shape, fields);
        }
    }
    if (kind < 13) return any_value_of(from, id, {1, 1}, fields);
    return any_value_of(from, id, any_shape(from), fields);
}

} // namespace model
