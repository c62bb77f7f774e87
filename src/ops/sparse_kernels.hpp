// The loops between full and sparse storage: counting nonzero elements, packing them, spreading them out.
//
// An element is what the storage holds: a byte, a float, a double, or a pair of one of the latter. It is nonzero when a part of it
// is: NaN counts, minus zero doesn't.
#pragma once

#include <nd/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace matrix::internal {

template <class Part>
struct complex_element {
    using part = Part;
    Part real;
    Part imaginary;
};

template <class Part>
[[gnu::always_inline]] inline bool is_nonzero(Part x) noexcept {
    return x != Part(0);
}
template <class Part>
[[gnu::always_inline]] inline bool is_nonzero(complex_element<Part> z) noexcept {
    return static_cast<bool>((z.real != Part(0)) | (z.imaginary != Part(0)));
}

// ---- counting

template <class Element>
std::size_t count_nonzero_one_by_one(const Element* from, std::size_t count) noexcept {
    std::size_t found = 0;
    for (std::size_t i = 0; i < count; ++i) found += is_nonzero(from[i]);
    return found;
}

template <class Element>
std::size_t count_nonzero(const Element* from, std::size_t count) noexcept {
    return count_nonzero_one_by_one(from, count);
}

// Real elements by four vectors at a time, each with a counter in every lane.
template <class Real>
requires std::is_arithmetic_v<Real> std::size_t count_nonzero(const Real* from, std::size_t count)
noexcept {
    constexpr std::size_t bytes = 16;
    constexpr std::size_t lanes = bytes / sizeof(Real);
    constexpr std::size_t vectors = 4;
    constexpr std::size_t most_steps = 100; // a lane of a byte counts no further than 127
    typedef Real values __attribute__((vector_size(bytes)));
    using counters = decltype(values{} != values{});
    std::size_t found = 0;
    while (count >= vectors * lanes) {
        const std::size_t possible = count / (vectors * lanes);
        const std::size_t steps = possible < most_steps ? possible : most_steps;
        counters counted[vectors] = {};
        for (std::size_t step = 0; step < steps; ++step) {
            for (counters& counter : counted) {
                values x;
                std::memcpy(&x, from, bytes);
                counter -= x != values{}; // true is -1
                from += lanes;
            }
        }
        for (const counters& counter : counted) {
            for (std::size_t lane = 0; lane < lanes; ++lane) found += static_cast<std::size_t>(counter[lane]);
        }
        count -= steps * vectors * lanes;
    }
    return found + count_nonzero_one_by_one(from, count);
}

// ---- packing

/// The bits of an element that may make it nonzero, over and over: all but those of signs.
template <class Element>
constexpr std::uint64_t value_bits() noexcept {
    if constexpr (std::is_same_v<Element, double>) {
        return 0x7FFF'FFFF'FFFF'FFFF;
    } else if constexpr (std::is_same_v<Element, float>) {
        return 0x7FFF'FFFF'7FFF'FFFF;
    } else if constexpr (std::is_class_v<Element>) {
        return value_bits<typename Element::part>();
    } else {
        static_assert(std::is_unsigned_v<Element>);
        return ~std::uint64_t{0};
    }
}

/// Where packed elements go: room for exactly as many as there are.
template <class Element>
struct packed_elements {
    Element* values;
    kvIndex* rows;
    std::size_t room;
    std::size_t stored = 0;
};

inline constexpr std::size_t packed_at_once = 8;

/// Whether any of the elements that are packed at once is nonzero.
template <class Element>
[[gnu::always_inline]] inline bool block_has_values(const Element* from) noexcept {
    std::uint64_t words[packed_at_once * sizeof(Element) / sizeof(std::uint64_t)];
    std::memcpy(words, from, sizeof words);
    std::uint64_t gathered = 0;
    for (const std::uint64_t word : words) gathered |= word;
    return (gathered & value_bits<Element>()) != 0;
}

template <class Element>
[[gnu::always_inline]] inline void pack_few(packed_elements<Element>& to, const Element* column,
                                            std::size_t row, std::size_t end) noexcept {
    for (; row < end; ++row) {
        if (!is_nonzero(column[row])) continue;
        to.values[to.stored] = column[row];
        to.rows[to.stored] = row;
        ++to.stored;
    }
}

// Every element is stored, and the next one in its place when it is zero: no branch to guess. Needs room for a whole block.
template <class Element>
[[gnu::always_inline]] inline void pack_block(packed_elements<Element>& to, const Element* column,
                                              std::size_t row) noexcept {
    std::size_t stored = to.stored;
    for (std::size_t i = 0; i < packed_at_once; ++i) {
        const Element x = column[row + i];
        to.values[stored] = x;
        to.rows[stored] = row + i;
        stored += is_nonzero(x);
    }
    to.stored = stored;
}

template <class Element>
[[gnu::always_inline]] inline void pack_column(packed_elements<Element>& to, const Element* column,
                                               std::size_t rows) noexcept {
    std::size_t row = 0;
    for (; rows - row >= packed_at_once; row += packed_at_once) {
        if (!block_has_values(column + row)) continue;
        if (to.room - to.stored >= packed_at_once) {
            pack_block(to, column, row);
        } else {
            pack_few(to, column, row, row + packed_at_once);
        }
    }
    pack_few(to, column, row, rows);
}

/// Packs columns of rows elements each; starts has one entry more than there are columns, the first of which is 0.
template <class Element>
void pack_columns(packed_elements<Element> to, kvIndex* starts, const Element* from, std::size_t rows,
                  std::size_t columns) noexcept {
    for (std::size_t column = 0; column < columns; ++column) {
        pack_column(to, from + rows * column, rows);
        starts[column + 1] = to.stored;
    }
}

// ---- spreading out

template <class Element>
void spread_columns(Element* to, std::size_t rows, std::size_t columns, const Element* values,
                    const kvIndex* row_of, const kvIndex* starts) noexcept {
    for (std::size_t column = 0; column < columns; ++column) {
        for (std::size_t k = starts[column]; k < starts[column + 1]; ++k) to[row_of[k]] = values[k];
        to += rows;
    }
}

} // namespace matrix::internal
