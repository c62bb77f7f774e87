// The loops of assignment that gain from wide registers: filling a block with one value, and testing that subscripts lie within an
// array before any of them is used.
//
// Less 1 and without a sign, a value that isn't from 1 to the limit is too high: 0, negative numbers, infinities and NaN alike.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include "indexing/whole_lanes.hpp"

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Bytes of the pattern that a fill repeats: of the widest element.
inline constexpr std::size_t fill_pattern_bytes = 16;

/// The kernels of one instruction set.
struct store_kernels {
    /// Fills so many bytes with values. The pattern is the value, repeated; bytes is a multiple of its size, a power of 2.
    void (*fill)(void* to, const void* pattern, std::size_t value_size, std::size_t bytes) noexcept;
    /// Whether all values are whole and from 1 to limit, which is below 2^52.
    bool (*doubles_within)(const double* values, std::size_t count, std::uint64_t limit) noexcept;
    bool (*words_within)(const std::uint64_t* values, std::size_t count, std::uint64_t limit) noexcept;
};

template <class Registers>
class store_kernel_loops : whole_lanes<Registers> {
    static constexpr std::size_t width = Registers::bytes;
    using bytes = foundation::core::cpu::vector<std::uint8_t, width>;

    using whole = whole_lanes<Registers>;
    using typename whole::doubles;
    using typename whole::words;
    using whole::any;
    using whole::bits_of;
    using whole::bits_of_whole;
    using whole::highest_of;
    using whole::lanes;
    using whole::whole_from;

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
        return all_within<double_judge>(values, count, limit);
    }

    static bool words_within(const std::uint64_t* values, std::size_t count, std::uint64_t limit) noexcept {
        return all_within<word_judge>(values, count, limit);
    }

private:
    // What the values of one lane have in common: the highest position, and bits that tell of fractions.
    struct double_judge {
        words highest{};
        words changed{};

        [[gnu::always_inline]] void see(const double* from) noexcept {
            doubles x;
            __builtin_memcpy(&x, from, sizeof x);
            const doubles sum = x + whole_from;
            changed |= (words)(sum - whole_from) ^ (words)x;
            raise(highest, (words)sum - (bits_of_whole + 1));
        }
        [[gnu::always_inline]] void add(const double_judge& other) noexcept {
            changed |= other.changed;
            raise(highest, other.highest);
        }
        [[gnu::always_inline]] bool all_within(std::uint64_t limit) const noexcept {
            return any(changed) == 0 && highest_of(highest) < limit;
        }
        [[gnu::always_inline]] static bool is_within(double x, std::uint64_t limit) noexcept {
            const double sum = x + whole_from;
            return bits_of(sum - whole_from) == bits_of(x) && bits_of(sum) - (bits_of_whole + 1) < limit;
        }
    };

    struct word_judge {
        words highest{};

        [[gnu::always_inline]] void see(const std::uint64_t* from) noexcept {
            words x;
            __builtin_memcpy(&x, from, sizeof x);
            raise(highest, x - 1);
        }
        [[gnu::always_inline]] void add(const word_judge& other) noexcept { raise(highest, other.highest); }
        [[gnu::always_inline]] bool all_within(std::uint64_t limit) const noexcept {
            return highest_of(highest) < limit;
        }
        [[gnu::always_inline]] static bool is_within(std::uint64_t x, std::uint64_t limit) noexcept {
            return x - 1 < limit;
        }
    };

    // Four vectors at a time, none of which waits for the one before.
    template <class Judge, class Value>
    [[gnu::always_inline]] static bool all_within(const Value* values, std::size_t count,
                                                  std::uint64_t limit) noexcept {
        Judge first;
        Judge second;
        Judge third;
        Judge fourth;
        std::size_t done = 0;
        for (; count - done >= 4 * lanes; done += 4 * lanes) {
            first.see(values + done);
            second.see(values + done + lanes);
            third.see(values + done + 2 * lanes);
            fourth.see(values + done + 3 * lanes);
        }
        for (; count - done >= lanes; done += lanes) first.see(values + done);
        first.add(second);
        third.add(fourth);
        first.add(third);
        bool good = done == 0 || first.all_within(limit);
        for (; done < count; ++done) good = good && Judge::is_within(values[done], limit);
        return good;
    }

    [[gnu::always_inline]] static void raise(words& highest, const words& position) noexcept {
        highest = position > highest ? position : highest;
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
template <class Registers>
inline constexpr store_kernels store_kernels_of{
    .fill = store_kernel_loops<Registers>::fill,
    .doubles_within = store_kernel_loops<Registers>::doubles_within,
    .words_within = store_kernel_loops<Registers>::words_within,
};

} // namespace matrix::internal
