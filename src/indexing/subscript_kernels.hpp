// The loops that turn subscripts into positions.
//
//   numbers   one pass without branches: the values are tested, the largest is found and the positions are stored. Where a value is no
//             index, the positions are garbage, and whoever called finds out which value it is
//   logical   a count, eight bytes at a time, then the positions: all-false words are passed over, of any other all eight places are
//             stored, each over the one before unless that was true
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include "indexing/index_limit.hpp"
#include "indexing/whole_lanes.hpp"

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Stores count positions, counted from 0, and the largest of them, counted from 1. False when a value is no index: what was stored
/// is of no use then. count isn't 0, and the buffers don't overlap.
using position_kernel = bool (*)(const void* values, std::size_t count, std::uint64_t* positions,
                                 std::uint64_t* largest) noexcept;

/// The kernels of one instruction set.
struct subscript_kernels {
    position_kernel doubles;
    position_kernel singles;
    position_kernel int8;
    position_kernel uint8;
    position_kernel int16;
    position_kernel uint16;
    position_kernel int32;
    position_kernel uint32;
    position_kernel wide; ///< int64 and uint64: a negative number has bits that are too high for an index
    /// Bytes that aren't 0.
    std::size_t (*count_true)(const std::uint8_t* bytes, std::size_t count) noexcept;
    /// The places of the bytes that aren't 0, as many of them as wanted; there are no fewer.
    void (*true_positions)(const std::uint8_t* bytes, std::uint64_t* positions, std::size_t wanted) noexcept;
};

template <class Registers>
class subscript_loops : whole_lanes<Registers> {
    template <class T, std::size_t Count>
    using vector = foundation::core::cpu::vector<T, Count>;

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
    template <class Value>
    static bool floating(const void* values, std::size_t count, std::uint64_t* __restrict positions,
                         std::uint64_t* largest) noexcept {
        const auto* const from = static_cast<const Value*>(values);
        doubles highest = doubles{} + whole_from;
        words bad{};
        std::size_t done = 0;
        for (; count - done >= lanes; done += lanes) {
            const doubles x = load_doubles(from + done);
            const doubles sum = x + whole_from;
            bad |= ~(words)((sum - whole_from == x) & (x >= 1.0) & (x < beyond_indices));
            highest = sum > highest ? sum : highest;
            const words next = (words)sum - (bits_of_whole + 1);
            __builtin_memcpy(positions + done, &next, sizeof next);
        }
        std::uint64_t any_bad = any(bad);
        std::uint64_t most = highest_of((words)highest);
        for (; done < count; ++done) {
            Value value;
            __builtin_memcpy(&value, from + done, sizeof value);
            const double x = value;
            const double sum = x + whole_from;
            any_bad |= static_cast<std::uint64_t>(!(sum - whole_from == x && x >= 1.0 && x < beyond_indices));
            const std::uint64_t bits = bits_of(sum);
            most = bits > most ? bits : most;
            positions[done] = bits - (bits_of_whole + 1);
        }
        *largest = most - bits_of_whole;
        return any_bad == 0;
    }

    static bool wide(const void* values, std::size_t count, std::uint64_t* __restrict positions,
                     std::uint64_t* largest) noexcept {
        const auto* const from = static_cast<const std::uint64_t*>(values);
        doubles highest = doubles{} + whole_from;
        words high_bits{};
        std::size_t done = 0;
        for (; count - done >= lanes; done += lanes) {
            words x;
            __builtin_memcpy(&x, from + done, sizeof x);
            const words next = x - 1;
            high_bits |= x | next; // 0 - 1 has them all
            const auto ordered = (doubles)(next | bits_of_whole);
            highest = ordered > highest ? ordered : highest;
            __builtin_memcpy(positions + done, &next, sizeof next);
        }
        std::uint64_t any_high = any(high_bits);
        std::uint64_t most = highest_of((words)highest) - bits_of_whole;
        for (; done < count; ++done) {
            std::uint64_t x;
            __builtin_memcpy(&x, from + done, sizeof x);
            const std::uint64_t next = x - 1;
            any_high |= x | next;
            most = next > most ? next : most;
            positions[done] = next;
        }
        *largest = most + 1;
        return any_high >> index_bits == 0;
    }

    template <class Value>
    static bool narrow(const void* values, std::size_t count, std::uint64_t* __restrict positions,
                       std::uint64_t* largest) noexcept {
        const auto* const from = static_cast<const unsigned char*>(values);
        Value lowest = 1;
        Value highest = 1;
        for (std::size_t i = 0; i < count; ++i) {
            Value x;
            __builtin_memcpy(&x, from + i * sizeof x, sizeof x);
            lowest = x < lowest ? x : lowest;
            highest = x > highest ? x : highest;
            positions[i] = static_cast<std::uint64_t>(std::int64_t{x}) - 1;
        }
        *largest = static_cast<std::uint64_t>(std::int64_t{highest});
        return lowest >= 1;
    }

    static std::size_t count_true(const std::uint8_t* bytes, std::size_t count) noexcept {
        constexpr std::size_t most_rounds = 255; // of which a lane can keep count
        constexpr std::size_t width = Registers::bytes;
        using byte_lanes = vector<std::uint8_t, width>;
        std::size_t total = 0;
        std::size_t done = 0;
        while (count - done >= width) {
            byte_lanes counts{};
            for (std::size_t round = 0; round < most_rounds && count - done >= width;
                 ++round, done += width) {
                byte_lanes x;
                __builtin_memcpy(&x, bytes + done, sizeof x);
                counts -= (byte_lanes)(x != 0);
            }
            for (std::size_t i = 0; i < width; ++i) total += counts[i];
        }
        for (; done < count; ++done) total += bytes[done] != 0;
        return total;
    }

    static void true_positions(const std::uint8_t* bytes, std::uint64_t* __restrict positions,
                               std::size_t wanted) noexcept {
        constexpr std::size_t word = sizeof(std::uint64_t);
        std::size_t found = 0;
        std::uint64_t at = 0;
        for (; wanted - found >= word; at += word) { // no fewer places are left than bytes
            std::uint64_t eight;
            __builtin_memcpy(&eight, bytes + at, sizeof eight);
            if (eight == 0) continue;
            for (std::size_t i = 0; i < word; ++i) {
                positions[found] = at + i;
                found += bytes[at + i] != 0;
            }
        }
        for (; found < wanted; ++at) {
            positions[found] = at;
            found += bytes[at] != 0;
        }
    }

private:
    [[gnu::always_inline]] static doubles load_doubles(const double* from) noexcept {
        doubles x;
        __builtin_memcpy(&x, from, sizeof x);
        return x;
    }
    [[gnu::always_inline]] static doubles load_doubles(const float* from) noexcept {
        vector<float, lanes> x;
        __builtin_memcpy(&x, from, sizeof x);
        return __builtin_convertvector(x, doubles);
    }
};

/// Defined in the source of each set.
extern const subscript_kernels subscript_kernels_baseline;
extern const subscript_kernels subscript_kernels_avx2;
extern const subscript_kernels subscript_kernels_avx512;

/// What such a source defines.
template <class Registers>
inline constexpr subscript_kernels subscript_kernels_of{
    .doubles = subscript_loops<Registers>::template floating<double>,
    .singles = subscript_loops<Registers>::template floating<float>,
    .int8 = subscript_loops<Registers>::template narrow<std::int8_t>,
    .uint8 = subscript_loops<Registers>::template narrow<std::uint8_t>,
    .int16 = subscript_loops<Registers>::template narrow<std::int16_t>,
    .uint16 = subscript_loops<Registers>::template narrow<std::uint16_t>,
    .int32 = subscript_loops<Registers>::template narrow<std::int32_t>,
    .uint32 = subscript_loops<Registers>::template narrow<std::uint32_t>,
    .wide = subscript_loops<Registers>::wide,
    .count_true = subscript_loops<Registers>::count_true,
    .true_positions = subscript_loops<Registers>::true_positions,
};

} // namespace matrix::internal
