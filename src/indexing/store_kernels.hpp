// The loops of assignment that gain from wide registers: filling a block with one value, and testing that subscripts lie within an
// array before any of them is used.
//
// A double is a whole number below 2^52 when adding 2^52 and taking it away again changes nothing; the low bits of the sum are the
// number. Less 1 and without a sign, whatever isn't from 1 to the limit is too high: 0, negative numbers, infinities and NaN alike.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include <foundation/core/cpu/registers.hpp>

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
class store_kernel_loops {
    static constexpr std::size_t width = Registers::bytes;
    static constexpr std::size_t lanes = width / sizeof(double);
    using bytes = foundation::core::cpu::vector<std::uint8_t, width>;
    using doubles = foundation::core::cpu::vector<double, lanes>;
    using words = foundation::core::cpu::vector<std::uint64_t, lanes>;

    static constexpr double whole_from = 4503599627370496.0;           // 2^52
    static constexpr std::uint64_t bits_of_whole = 0x4330000000000000; // of the double above

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
        words highest{};
        words changed{};
        std::size_t done = 0;
        for (; count - done >= lanes; done += lanes) {
            doubles x;
            __builtin_memcpy(&x, values + done, sizeof x);
            const doubles sum = x + whole_from;
            changed |= (words)(sum - whole_from) ^ (words)x;
            const words position = (words)sum - (bits_of_whole + 1);
            highest = position > highest ? position : highest;
        }
        std::uint64_t most = highest_of(highest);
        std::uint64_t any_changed = any(changed);
        for (; done < count; ++done) {
            const double x = values[done];
            const double sum = x + whole_from;
            any_changed |= bits_of(sum - whole_from) ^ bits_of(x);
            const std::uint64_t position = bits_of(sum) - (bits_of_whole + 1);
            most = position > most ? position : most;
        }
        return any_changed == 0 && (count == 0 || most < limit);
    }

    static bool words_within(const std::uint64_t* values, std::size_t count, std::uint64_t limit) noexcept {
        words highest{};
        std::size_t done = 0;
        for (; count - done >= lanes; done += lanes) {
            words x;
            __builtin_memcpy(&x, values + done, sizeof x);
            const words position = x - 1;
            highest = position > highest ? position : highest;
        }
        std::uint64_t most = highest_of(highest);
        for (; done < count; ++done) {
            const std::uint64_t position = values[done] - 1;
            most = position > most ? position : most;
        }
        return count == 0 || most < limit;
    }

private:
    [[gnu::always_inline]] static void fill_less(std::uint8_t* out, const std::uint8_t* pattern,
                                                 std::size_t size) noexcept {
        std::size_t done = 0;
        for (; size - done >= fill_pattern_bytes; done += fill_pattern_bytes)
            __builtin_memcpy(out + done, pattern, fill_pattern_bytes);
        for (std::size_t i = 0; done < size; ++done, ++i) out[done] = pattern[i];
    }
    [[gnu::always_inline]] static std::uint64_t bits_of(double x) noexcept {
        std::uint64_t bits;
        __builtin_memcpy(&bits, &x, sizeof bits);
        return bits;
    }
    [[gnu::always_inline]] static std::uint64_t any(const words& x) noexcept {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < lanes; ++i) bits |= x[i];
        return bits;
    }
    [[gnu::always_inline]] static std::uint64_t highest_of(const words& x) noexcept {
        std::uint64_t most = 0;
        for (std::size_t i = 0; i < lanes; ++i) most = x[i] > most ? x[i] : most;
        return most;
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
