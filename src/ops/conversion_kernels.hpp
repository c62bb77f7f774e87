// The loops of class conversion: one for each pair of classes, made from the table of rules.
//
//   rule copy                          the bytes as they are
//   rule test, floating point          blocks: a block is scanned for NaN before its first result is stored. A block with one, and
//                                      what is left behind the last block, go in groups of four
//   rules round and truncate           vectors of fixed width, and the scalar rule for what is left; baseline: the scalar rule
//   everything else                    the scalar rule in a plain loop, which the compiler turns into vectors
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include "ops/conversion_lanes.hpp"
#include "ops/conversion_rules.hpp"

#include <cstddef>

namespace matrix::internal {

/// Converts count scalars and returns how many it has done: fewer only where a NaN stopped a conversion to logical. The buffers
/// don't overlap.
using conversion_kernel = std::size_t (*)(void* destination, const void* source, std::size_t count) noexcept;

/// The kernels of one instruction set, by rows and columns of the table of rules.
struct conversion_kernels {
    conversion_kernel loops[scalar_class_count][scalar_class_count];
};

// What the loops have to know of an instruction set.
struct baseline_registers : foundation::core::cpu::baseline_registers {
    static constexpr bool round_in_vectors = false; // its vectors serve scans for NaN only
    static constexpr bool convert_64_bit_numbers =
        false; // between doubles and 64-bit whole numbers, either way
};
struct avx2_registers : foundation::core::cpu::avx2_registers {
    static constexpr bool round_in_vectors = true;
    static constexpr bool convert_64_bit_numbers = false;
};
struct avx512_registers : foundation::core::cpu::avx512_registers {
    static constexpr bool round_in_vectors = true;
    static constexpr bool convert_64_bit_numbers = true;
};

template <class Registers>
class conversion_loops {
public:
    template <conversion_rule Rule, class Destination, class Source>
    static std::size_t run(void* destination, const void* source, std::size_t count) noexcept {
        auto* __restrict const to = static_cast<Destination*>(destination);
        const auto* __restrict const from = static_cast<const Source*>(source);
        if constexpr (Rule == conversion_rule::copy) {
            if (count != 0) __builtin_memcpy(destination, source, count * sizeof(Destination));
            return count;
        } else if constexpr (Rule == conversion_rule::test && std::is_floating_point_v<Source>) {
            return test(to, from, count);
        } else {
            std::size_t done = 0;
            if constexpr (Rule == conversion_rule::round || Rule == conversion_rule::truncate) {
                if constexpr (Registers::round_in_vectors)
                    done = run_lanes<Rule, Destination, Source>(to, from, count);
            }
            for (; done < count; ++done) put(to + done, convert<Rule, Destination>(at(from + done)));
            return count;
        }
    }

private:
    // Scalars by their bytes: a code unit stands in memory as char16_t, and a buffer may lie at any address.
    template <class Scalar>
    [[gnu::always_inline]] static Scalar at(const Scalar* from) noexcept {
        Scalar x;
        __builtin_memcpy(&x, from, sizeof x);
        return x;
    }
    template <class Scalar>
    [[gnu::always_inline]] static void put(Scalar* to, Scalar x) noexcept {
        __builtin_memcpy(to, &x, sizeof x);
    }

    template <conversion_rule Rule, class Destination, class Source>
    [[gnu::always_inline]] static Destination convert(Source x) noexcept {
        constexpr bool by_halves = std::is_integral_v<Source> && sizeof(Source) == 8 &&
                                   std::is_same_v<Destination, double> && !Registers::convert_64_bit_numbers;
        if constexpr (by_halves) {
            return number_by_halves(x);
        } else {
            return converted<Rule, Destination>(x);
        }
    }

    // How many scalars whole vectors did; the rest is the caller's.
    template <conversion_rule Rule, class Destination, class Source>
    [[gnu::always_inline]] static std::size_t
    run_lanes(Destination* __restrict to, const Source* __restrict from, std::size_t count) noexcept {
        // Truncation is exact in either precision; rounding to more than 16 bits wants double.
        constexpr bool in_single = std::is_same_v<Source, float> && sizeof(Destination) <= 2;
        using work = std::conditional_t<in_single, float, double>;
        constexpr std::size_t lanes = Registers::bytes / sizeof(work);
        std::size_t done = 0;
        for (; count - done >= lanes; done += lanes) {
            const auto x = lanes::load<Source, lanes>(from + done);
            convert_lanes<Rule, Destination, work, lanes>(
                to + done, __builtin_convertvector(x, lanes::vector<work, lanes>));
        }
        return done;
    }

    template <conversion_rule Rule, class Destination, class Work, std::size_t Lanes>
    [[gnu::always_inline]] static void convert_lanes(Destination* to, lanes::vector<Work, Lanes> x) noexcept {
        if constexpr (Rule == conversion_rule::truncate) {
            lanes::store_narrowed<Destination, Lanes, std::int32_t>(to,
                                                                    lanes::truncated_to_32<Work, Lanes>(x));
        } else if constexpr (sizeof(Destination) <= 4) {
            lanes::store_narrowed<Destination, Lanes, std::int32_t>(
                to, lanes::rounded_to_32<Destination, Work, Lanes>(x));
        } else {
            constexpr bool wide = Registers::convert_64_bit_numbers;
            lanes::store_narrowed<Destination, Lanes, Destination>(
                to, lanes::rounded_to_64<Destination, wide, Lanes>(x));
        }
    }

    // ---- to logical

    static constexpr std::size_t block = 64;
    static constexpr std::size_t group = 4;

    template <class Source>
    [[gnu::always_inline]] static std::size_t test(std::uint8_t* __restrict to, const Source* __restrict from,
                                                   std::size_t count) noexcept {
        std::size_t done = 0;
        while (count - done >= block && !block_has_nan(from + done)) {
            test_block(to + done, from + done);
            done += block;
        }
        while (done < count) {
            const std::size_t rest = count - done;
            const std::size_t length = rest < group ? rest : group;
            for (std::size_t i = 0; i < length; ++i) {
                if (is_nan(at(from + done + i))) return done;
            }
            for (std::size_t i = 0; i < length; ++i) to[done + i] = tested(at(from + done + i));
            done += length;
        }
        return count;
    }

    template <class Source>
    [[gnu::always_inline]] static bool block_has_nan(const Source* from) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(Source);
        lanes::vector<lanes::bits_of<Source>, lanes> nan{};
        for (std::size_t i = 0; i < block; i += lanes) {
            const auto x = lanes::load<Source, lanes>(from + i);
            nan |= x != x;
        }
        lanes::bits_of<Source> any = 0;
        for (std::size_t i = 0; i < lanes; ++i) any |= nan[i];
        return any != 0;
    }

    template <class Source>
    [[gnu::always_inline]] static void test_block(std::uint8_t* __restrict to,
                                                  const Source* __restrict from) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(Source);
        for (std::size_t i = 0; i < block; i += lanes) {
            const auto x = lanes::load<Source, lanes>(from + i);
            lanes::store_narrowed<std::uint8_t, lanes, lanes::bits_of<Source>>(to + i, (x != Source(0)) & 1);
        }
    }
};

namespace detail {

template <class Registers, std::size_t Row, std::size_t... Column>
constexpr void fill_row(conversion_kernels& kernels, std::index_sequence<Column...>) noexcept {
    ((kernels.loops[Row][Column] =
          &conversion_loops<Registers>::template run<rule_at(Row, Column), scalar_at<Row>,
                                                     scalar_at<Column>>),
     ...);
}

template <class Registers, std::size_t... Row>
constexpr conversion_kernels all_kernels(std::index_sequence<Row...>) noexcept {
    conversion_kernels kernels{};
    (fill_row<Registers, Row>(kernels, std::make_index_sequence<scalar_class_count>()), ...);
    return kernels;
}

} // namespace detail

/// Defined in the source of each set.
extern const conversion_kernels conversion_kernels_baseline;
extern const conversion_kernels conversion_kernels_avx2;
extern const conversion_kernels conversion_kernels_avx512;

/// What such a source defines.
template <class Registers>
inline constexpr conversion_kernels
    conversion_kernels_of = detail::all_kernels<Registers>(std::make_index_sequence<scalar_class_count>());

} // namespace matrix::internal
