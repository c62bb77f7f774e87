// The loops of assignment that gain from wide registers: filling a block with one value, testing that subscripts lie within an array
// before any of them is used, and storing values there.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include "indexing/whole_lanes.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace matrix::internal {

/// Bytes of the pattern that a fill repeats: of the widest element.
inline constexpr std::size_t fill_pattern_bytes = 16;

/// Stores a value at each of count places, which count from 1 and have been tested. The values lie step bytes apart, or are one
/// with a step of 0.
using scatter_kernel = void (*)(void* to, const void* subscripts, std::size_t count, const void* values,
                                std::size_t step) noexcept;

inline constexpr std::size_t stored_width_count = 4; // 1, 2, 4 and 8 bytes

/// The kernels of one instruction set.
struct store_kernels {
    /// Fills so many bytes with values. The pattern is the value, repeated; bytes is a multiple of its size, a power of 2.
    void (*fill)(void* to, const void* pattern, std::size_t value_size, std::size_t bytes) noexcept;
    /// Whether all values are whole and from 1 to limit, which is below 2^52.
    bool (*doubles_within)(const double* values, std::size_t count, std::uint64_t limit) noexcept;
    bool (*words_within)(const std::uint64_t* values, std::size_t count, std::uint64_t limit) noexcept;
    std::array<scatter_kernel, stored_width_count> scatter_by_doubles;
    std::array<scatter_kernel, stored_width_count> scatter_by_words;
};

template <class Registers>
class store_kernel_loops : whole_lanes<Registers> {
    static constexpr std::size_t width = Registers::bytes;
    using bytes = foundation::core::cpu::vector<std::uint8_t, width>;

    using whole = whole_lanes<Registers>;
    using typename whole::doubles;
    using typename whole::words;
    using whole::any;
    using whole::bad;
    using whole::is_bad;
    using whole::lanes;

    static constexpr std::size_t block = 32; // values that are stored one behind the other
    static_assert(block % lanes == 0);

public:
    static void fill(void* to, const void* pattern, std::size_t value_size, std::size_t size) noexcept {
        auto* const out = static_cast<std::uint8_t*>(to);
        if (size < width) return fill_less(out, static_cast<const std::uint8_t*>(pattern), size);
        std::uint8_t repeated[width];
        for (std::size_t i = 0; i < width; i += fill_pattern_bytes)
            __builtin_memcpy(repeated + i, pattern, fill_pattern_bytes);
        bytes x;
        __builtin_memcpy(&x, repeated, width);
        // The first and the last store overlap their neighbours, by whole values.
        const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(to)) % width;
        std::size_t done = 0;
        if ((head & (value_size - 1)) == 0) {
            __builtin_memcpy(out, &x, width);
            done = head;
        }
        for (; size - done >= width; done += width) __builtin_memcpy(out + done, &x, width);
        __builtin_memcpy(out + size - width, &x, width);
    }

    static bool doubles_within(const double* values, std::size_t count, std::uint64_t limit) noexcept {
        return all_within<doubles>(values, count, static_cast<double>(static_cast<std::int64_t>(limit)));
    }

    static bool words_within(const std::uint64_t* values, std::size_t count, std::uint64_t limit) noexcept {
        return all_within<words>(values, count, limit);
    }

    template <class Lanes, class Value, class Element>
    static void scatter(void* to, const void* subscripts, std::size_t count, const void* values,
                        std::size_t step) noexcept {
        const auto* const from = static_cast<const Value*>(subscripts);
        auto* const elements = static_cast<Element*>(to);
        const auto* value = static_cast<const std::uint8_t*>(values);
        std::size_t done = 0;
        for (; count - done >= block; done += block, value += block * step) {
            std::uint64_t positions[block];
            for (std::size_t i = 0; i < block; i += lanes) {
                Lanes x;
                __builtin_memcpy(&x, from + done + i, sizeof x);
                const words next = whole::positions(x);
                __builtin_memcpy(positions + i, &next, sizeof next);
            }
            store_block(elements, positions, value, step, std::make_index_sequence<block>());
        }
        for (; done < count; ++done, value += step)
            __builtin_memcpy(elements + (static_cast<std::uint64_t>(from[done]) - 1), value, sizeof(Element));
    }

private:
    template <class Lanes, class Value, class Limit>
    [[gnu::always_inline]] static bool all_within(const Value* values, std::size_t count,
                                                  Limit limit) noexcept {
        words seen{};
        std::size_t done = 0;
#pragma GCC unroll 4
        for (; count - done >= lanes; done += lanes) {
            Lanes x;
            __builtin_memcpy(&x, values + done, sizeof x);
            seen |= bad(x, limit);
        }
        bool good = any(seen) == 0;
        for (; done < count; ++done) good = good && !is_bad(values[done], limit);
        return good;
    }

    // Without a loop, whose end would be guessed wrong each time.
    template <class Element, std::size_t... I>
    [[gnu::always_inline]] static void store_block(Element* to, const std::uint64_t* positions,
                                                   const std::uint8_t* value, std::size_t step,
                                                   std::index_sequence<I...>) noexcept {
        (__builtin_memcpy(to + positions[I], value + I * step, sizeof(Element)), ...);
    }

    [[gnu::always_inline]] static void fill_less(std::uint8_t* out, const std::uint8_t* pattern,
                                                 std::size_t size) noexcept {
        std::size_t done = 0;
        for (; size - done >= fill_pattern_bytes; done += fill_pattern_bytes)
            __builtin_memcpy(out + done, pattern, fill_pattern_bytes);
        for (std::size_t i = 0; done < size; ++done, ++i) out[done] = pattern[i];
    }
};

/// Defined in the source of each set.
extern const store_kernels store_kernels_baseline;
extern const store_kernels store_kernels_avx2;
extern const store_kernels store_kernels_avx512;

/// What such a source defines.
template <class Registers, class... Element>
constexpr store_kernels make_store_kernels() noexcept {
    using loops = store_kernel_loops<Registers>;
    using lanes = whole_lanes<Registers>;
    return {
        .fill = loops::fill,
        .doubles_within = loops::doubles_within,
        .words_within = loops::words_within,
        .scatter_by_doubles = {loops::template scatter<typename lanes::doubles, double, Element>...},
        .scatter_by_words = {loops::template scatter<typename lanes::words, std::uint64_t, Element>...},
    };
}

template <class Registers>
inline constexpr store_kernels store_kernels_of =
    make_store_kernels<Registers, std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>();

} // namespace matrix::internal
