// The loops under UTF-8 and UTF-16: runs of ASCII, and how long a text is in the other form.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include <foundation/core/cpu/registers.hpp>

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace fl::i18n::detail {

/// The kernels of one instruction set. fl/i18n/utf8.hpp tells what each does.
struct utf8_kernels {
    std::size_t (*widen_ascii)(char16_t* to, const char* from, std::size_t count) noexcept;
    std::size_t (*narrow_ascii)(char* to, const char16_t* from, std::size_t count) noexcept;
    std::size_t (*narrow_to_nul)(char* to, const char16_t* from, std::size_t count) noexcept;
    bool (*is_ascii)(const char* text, std::size_t count) noexcept;
    std::size_t (*utf16_length)(const char* utf8, std::size_t count) noexcept;
    std::size_t (*utf8_length)(const char16_t* text, std::size_t count) noexcept;
    std::size_t (*find_nul)(const char16_t* text, std::size_t count) noexcept;
};

template <class Registers>
class utf8_loops {
public:
    static std::size_t widen_ascii(char16_t* to, const char* from, std::size_t count) noexcept {
        return copy<bytes_of_ascii>(to, from, count);
    }

    static std::size_t narrow_ascii(char* to, const char16_t* from, std::size_t count) noexcept {
        return copy<units_of_ascii>(to, from, count);
    }

    static std::size_t narrow_to_nul(char* to, const char16_t* from, std::size_t count) noexcept {
        return copy<units_to_nul>(to, from, count);
    }

    static bool is_ascii(const char* text, std::size_t count) noexcept {
        std::size_t done = 0;
        for (; count - done >= block; done += block)
            if (!is_run<bytes_of_ascii, block>(text + done)) return false;
        for (; count - done >= group; done += group)
            if (!is_run<bytes_of_ascii, group>(text + done)) return false;
        for (; done < count; ++done)
            if (!bytes_of_ascii::includes(unit_at<std::uint8_t>(text + done))) return false;
        return true;
    }

    // A unit for each byte that begins a character, and another one where the character has four bytes.
    static std::size_t utf16_length(const char* utf8, std::size_t count) noexcept {
        constexpr std::size_t most_steps = 127; // a lane of a sum grows by 2 at most in each
        std::size_t length = 0;
        std::size_t done = 0;
        while (count - done >= Registers::bytes) {
            vector<std::uint8_t> sums{};
            for (std::size_t step = 0; step < most_steps && count - done >= Registers::bytes; ++step) {
                const auto bytes = load<std::uint8_t>(utf8 + done);
                sums += in_lanes<std::uint8_t>((bytes & 0xC0) != 0x80);
                sums += in_lanes<std::uint8_t>(bytes >= 0xF0);
                done += Registers::bytes;
            }
            length += sum_of(sums);
        }
        for (; done < count; ++done) {
            const unsigned byte = unit_at<std::uint8_t>(utf8 + done);
            length += ((byte & 0xC0U) != 0x80U ? 1U : 0U) + (byte >= 0xF0U ? 1U : 0U);
        }
        return length;
    }

    // Three bytes a unit, one less below 0x800 and below 0x80 each, and two less where a pair of surrogates begins.
    static std::size_t utf8_length(const char16_t* text, std::size_t count) noexcept {
        using units = vector<std::uint16_t>;
        constexpr std::size_t lanes = lane_count<std::uint16_t>;
        constexpr std::size_t most_steps = 20000; // a lane of the sum grows by 2 at most in each
        std::size_t length = 0;
        std::size_t done = 0;
        while (count - done > lanes) { // the unit behind the last lane is looked at too
            units saved{};
            std::size_t step = 0;
            for (; step < most_steps && count - done > lanes; ++step) {
                const auto now = load<std::uint16_t>(text + done);
                const auto next = load<std::uint16_t>(text + done + 1);
                const auto is_pair = ((now & 0xFC00) == 0xD800) & ((next & 0xFC00) == 0xDC00);
                saved -= reinterpret_cast<units>((now & 0xFF80) == 0); // true is -1
                saved -= reinterpret_cast<units>((now & 0xF800) == 0);
                saved -= reinterpret_cast<units>(is_pair) + reinterpret_cast<units>(is_pair);
                done += lanes;
            }
            length += 3 * lanes * step - sum_of(saved);
        }
        for (; done < count; ++done) {
            const std::uint16_t unit = unit_at<std::uint16_t>(text + done);
            length += 1U + (unit >= 0x80 ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
            const bool is_pair = (unit & 0xFC00) == 0xD800 && count - done > 1 &&
                                 (unit_at<std::uint16_t>(text + done + 1) & 0xFC00) == 0xDC00;
            length -= is_pair ? 2U : 0U;
        }
        return length;
    }

    static std::size_t find_nul(const char16_t* text, std::size_t count) noexcept {
        constexpr std::size_t lanes = lane_count<std::uint16_t>;
        std::size_t done = 0;
        while (count - done >= 2 * lanes) {
            const auto first = load<std::uint16_t>(text + done);
            const auto second = load<std::uint16_t>(text + done + lanes);
            if (any_set((first == 0) | (second == 0))) break;
            done += 2 * lanes;
        }
        while (done < count && unit_at<std::uint16_t>(text + done) != 0) ++done;
        return done;
    }

private:
    static constexpr std::size_t block = 2 * Registers::bytes; // units that are tested at once
    static constexpr std::size_t group = 8;

    // A whole register of units.
    template <class Unit>
    using vector [[gnu::vector_size(Registers::bytes)]] = Unit;
    template <class Unit>
    static constexpr std::size_t lane_count = Registers::bytes / sizeof(Unit);

    template <class Unit>
    [[gnu::always_inline]] static vector<Unit> load(const void* from) noexcept {
        vector<Unit> units;
        __builtin_memcpy(&units, from, sizeof units);
        return units;
    }
    // 1 in the lanes of which something holds, 0 in the others.
    template <class Unit, class Mask>
    [[gnu::always_inline]] static vector<Unit> in_lanes(const Mask& holds) noexcept {
        return reinterpret_cast<vector<Unit>>(holds) & 1;
    }
    template <class Vector>
    [[gnu::always_inline]] static std::size_t sum_of(const Vector& lanes) noexcept {
        std::size_t sum = 0;
        for (std::size_t i = 0; i < sizeof lanes / sizeof lanes[0]; ++i) sum += lanes[i];
        return sum;
    }

    // The compiler would take a wide register to pieces.
    template <class Vector>
    [[gnu::always_inline]] static bool any_set(const Vector& lanes) noexcept {
        if constexpr (sizeof lanes == 64) {
            const auto bits = reinterpret_cast<__m512i>(lanes);
            return _mm512_test_epi64_mask(bits, bits) != 0;
        } else if constexpr (sizeof lanes == 32) {
            const auto bits = reinterpret_cast<__m256i>(lanes);
            return _mm256_testz_si256(bits, bits) == 0;
        } else {
            std::uint64_t words[sizeof lanes / sizeof(std::uint64_t)];
            __builtin_memcpy(words, &lanes, sizeof words);
            std::uint64_t all = 0;
            for (const std::uint64_t word : words) all |= word;
            return all != 0;
        }
    }

    template <class Unit>
    [[gnu::always_inline]] static Unit unit_at(const void* from) noexcept {
        Unit unit;
        __builtin_memcpy(&unit, from, sizeof unit);
        return unit;
    }

    // What is copied: units in whose mark no bit of outside is set.
    template <class Element>
    struct ascii_units {
        using unit = Element;
        static constexpr unit outside = static_cast<unit>(~0x7FU);
        template <class Units>
        [[gnu::always_inline]] static Units mark(const Units& units) noexcept {
            return units;
        }
        [[gnu::always_inline]] static bool includes(unit one) noexcept { return one < 0x80; }
    };
    using bytes_of_ascii = ascii_units<std::uint8_t>;
    using units_of_ascii = ascii_units<std::uint16_t>;
    struct units_to_nul : units_of_ascii {
        template <class Units>
        [[gnu::always_inline]] static Units mark(const Units& units) noexcept {
            return units | (units - 1); // NUL marks every bit
        }
        [[gnu::always_inline]] static bool includes(std::uint16_t one) noexcept {
            return one != 0 && one < 0x80;
        }
    };

    template <class Kind, std::size_t Count>
    [[gnu::always_inline]] static bool is_run(const void* from) noexcept {
        using unit = typename Kind::unit;
        constexpr std::size_t bytes = Count * sizeof(unit);
        constexpr std::size_t step = bytes < Registers::bytes ? bytes : Registers::bytes;
        using units = foundation::core::cpu::vector<unit, step / sizeof(unit)>;
        units marks{};
        for (std::size_t at = 0; at < bytes; at += step) {
            units some;
            __builtin_memcpy(&some, static_cast<const unsigned char*>(from) + at, step);
            marks |= Kind::mark(some);
        }
        return !any_set(marks & Kind::outside);
    }

    template <class Kind, std::size_t Count, class To, class From>
    [[gnu::always_inline]] static bool copy_run(To* __restrict to, const From* __restrict from) noexcept {
        if (!is_run<Kind, Count>(from)) return false;
        if constexpr (sizeof(To) > sizeof(From)) {
            for (std::size_t i = 0; i < Count; ++i) to[i] = static_cast<unsigned char>(from[i]);
        } else { // of a loop, the compiler would pack the lanes one by one
            constexpr std::size_t lanes = Count < lane_count<From> ? Count : lane_count<From>;
            using bytes = foundation::core::cpu::vector<std::uint8_t, lanes>;
            for (std::size_t i = 0; i < Count; i += lanes) {
                foundation::core::cpu::vector<std::uint16_t, lanes> units;
                __builtin_memcpy(&units, from + i, sizeof units);
                const auto copied = __builtin_convertvector(units, bytes);
                __builtin_memcpy(to + i, &copied, sizeof copied);
            }
        }
        return true;
    }

    // Runs of Count units, then of half as many, down to a group; the number of units before the run that isn't whole.
    template <class Kind, std::size_t Count, class To, class From>
    [[gnu::always_inline]] static std::size_t copy_runs(To* __restrict to, const From* __restrict from,
                                                        std::size_t done, std::size_t count) noexcept {
        while (count - done >= Count && copy_run<Kind, Count>(to + done, from + done)) done += Count;
        if constexpr (Count == group) {
            return done;
        } else {
            return copy_runs<Kind, Count / 2>(to, from, done, count);
        }
    }

    // The number of units before the first that isn't of the kind. The last few are a group too, with some that are copied already.
    template <class Kind, class To, class From>
    [[gnu::always_inline]] static std::size_t copy(To* __restrict to, const From* __restrict from,
                                                   std::size_t count) noexcept {
        std::size_t done = copy_runs<Kind, block>(to, from, 0, count);
        if (done == count) return count;
        if (count >= group && count - done < group &&
            copy_run<Kind, group>(to + (count - group), from + (count - group)))
            return count;
        for (; done < count; ++done) {
            const auto unit = unit_at<typename Kind::unit>(from + done);
            if (!Kind::includes(unit)) break;
            to[done] = static_cast<To>(unit);
        }
        return done;
    }
};

/// Defined in the source of each set.
extern const utf8_kernels utf8_kernels_baseline;
extern const utf8_kernels utf8_kernels_avx2;
extern const utf8_kernels utf8_kernels_avx512;

/// What such a source defines.
template <class Registers>
inline constexpr utf8_kernels utf8_kernels_of{
    &utf8_loops<Registers>::widen_ascii,   &utf8_loops<Registers>::narrow_ascii,
    &utf8_loops<Registers>::narrow_to_nul, &utf8_loops<Registers>::is_ascii,
    &utf8_loops<Registers>::utf16_length,  &utf8_loops<Registers>::utf8_length,
    &utf8_loops<Registers>::find_nul};

} // namespace fl::i18n::detail
