// The loops of class conversion: one for each pair of classes, made from the table of rules.
//
//   rule copy                          the bytes as they are
//   rule test, floating point          several vectors together, none of whose results is stored when there is a NaN in them. Such
//                                      ones, and what is left behind the last, go in groups of four
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
        constexpr std::size_t together = sizeof(Destination) < 4 ? 4 / sizeof(Destination) : 1;
        std::size_t done = 0;
        for (; count - done >= together * lanes; done += together * lanes)
            convert_batch<Rule, work, together>(to + done, from + done);
        if constexpr (together > 1) {
            for (; count - done >= lanes; done += lanes) convert_batch<Rule, work, 1>(to + done, from + done);
        }
        return done;
    }

    template <conversion_rule Rule, class Work, std::size_t Number, class Destination, class Source>
    [[gnu::always_inline]] static void convert_batch(Destination* __restrict to,
                                                     const Source* __restrict from) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(Work);
        using number = std::conditional_t<sizeof(Destination) <= 4, std::int32_t, Destination>;
        lanes::batch<number, lanes, Number> y;
        for (std::size_t i = 0; i < Number; ++i) {
            const auto x = __builtin_convertvector(lanes::load<Source, lanes>(from + i * lanes),
                                                   lanes::vector<Work, lanes>);
            if constexpr (Rule == conversion_rule::truncate) {
                y.at[i] = lanes::truncated_to_32<Work, lanes>(x);
            } else if constexpr (sizeof(Destination) <= 4) {
                y.at[i] = lanes::rounded_to_32<Destination, Work, lanes>(x);
            } else {
                constexpr bool wide = Registers::convert_64_bit_numbers;
                y.at[i] = lanes::rounded_to_64<Destination, wide, lanes>(x);
            }
        }
        lanes::store(to, lanes::narrowed<Destination>(y));
    }

    // ---- to logical

    static constexpr std::size_t group = 4;

    template <class Source>
    [[gnu::always_inline]] static std::size_t test(std::uint8_t* __restrict to, const Source* __restrict from,
                                                   std::size_t count) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(Source);
        constexpr std::size_t together = sizeof(Source); // of which a byte each is left
        constexpr std::size_t few = lanes < group ? lanes : group;
        std::size_t done = 0;
        while (count - done >= together * lanes && test_vectors<lanes, together>(to + done, from + done))
            done += together * lanes;
        for (; count - done >= group; done += group) {
            if (!test_vectors<few, group / few>(to + done, from + done)) return done;
        }
        for (std::size_t i = done; i < count; ++i) {
            if (is_nan(at(from + i))) return done;
        }
        for (; done < count; ++done) to[done] = tested(at(from + done));
        return count;
    }

    // False when there is a NaN; nothing is stored then.
    template <std::size_t Lanes, std::size_t Number, class Source>
    [[gnu::always_inline]] static bool test_vectors(std::uint8_t* to, const Source* from) noexcept {
        using bits = lanes::bits_of<Source>;
        lanes::vector<bits, Lanes> nan{};
        lanes::batch<bits, Lanes, Number> is;
        for (std::size_t i = 0; i < Number; ++i) {
            const auto x = lanes::load<Source, Lanes>(from + i * Lanes);
            nan |= x != x;
            is.at[i] = x != Source(0);
        }
        bits any = 0;
        for (std::size_t i = 0; i < Lanes; ++i) any |= nan[i];
        if (any != 0) return false;
        if constexpr (Number == sizeof(bits)) {
            const auto bytes = lanes::truths(is);
            __builtin_memcpy(to, &bytes, sizeof bytes);
        } else {
            for (auto& lane : is.at) lane &= 1;
            lanes::store(to, lanes::narrowed<std::uint8_t>(is));
        }
        return true;
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
