// The loops under UTF-8 and UTF-16: runs of ASCII, and how long a text is in the other form.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include <foundation/core/cpu/registers.hpp>

#include <cstddef>
#include <cstdint>

namespace fl::i18n::detail {

/// The kernels of one instruction set. fl/i18n/utf8.hpp tells what each does.
struct utf8_kernels {
    std::size_t (*widen_ascii)(char16_t* to, const char* from, std::size_t count) noexcept;
    std::size_t (*narrow_ascii)(char* to, const char16_t* from, std::size_t count) noexcept;
    bool (*is_ascii)(const char* text, std::size_t count) noexcept;
    std::size_t (*utf16_length)(const char* utf8, std::size_t count) noexcept;
    std::size_t (*utf8_length)(const char16_t* text, std::size_t count) noexcept;
    std::size_t (*find_nul)(const char16_t* text, std::size_t count) noexcept;
};

template <class Registers>
class utf8_loops {
public:
    static std::size_t widen_ascii(char16_t* to, const char* from, std::size_t count) noexcept {
        return copy_ascii<std::uint8_t>(to, from, count);
    }

    static std::size_t narrow_ascii(char* to, const char16_t* from, std::size_t count) noexcept {
        return copy_ascii<std::uint16_t>(to, from, count);
    }

    static bool is_ascii(const char* text, std::size_t count) noexcept {
        std::size_t done = 0;
        for (; count - done >= block; done += block)
            if (!is_ascii_run<std::uint8_t, block>(text + done)) return false;
        for (; count - done >= group; done += group)
            if (!is_ascii_run<std::uint8_t, group>(text + done)) return false;
        for (; done < count; ++done)
            if (unit_at<std::uint8_t>(text + done) >= ascii_end) return false;
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

    // One, two or three bytes a unit; a pair of surrogates has four together.
    static std::size_t utf8_length(const char16_t* text, std::size_t count) noexcept {
        constexpr std::size_t lanes = lane_count<std::uint16_t>;
        constexpr std::size_t most_steps = 20000; // a lane of a sum grows by 3 at most in each
        std::size_t length = 0;
        std::size_t done = 0;
        while (count - done > lanes) { // the unit behind the last lane is looked at too
            vector<std::uint16_t> sums{};
            vector<std::uint16_t> pairs{};
            for (std::size_t step = 0; step < most_steps && count - done > lanes; ++step) {
                const auto units = load<std::uint16_t>(text + done);
                const auto next = load<std::uint16_t>(text + done + 1);
                sums += in_lanes<std::uint16_t>(units >= 0x80) + in_lanes<std::uint16_t>(units >= 0x800) + 1;
                pairs += in_lanes<std::uint16_t>((units & 0xFC00) == 0xD800) &
                         in_lanes<std::uint16_t>((next & 0xFC00) == 0xDC00);
                done += lanes;
            }
            length += sum_of(sums) - 2 * sum_of(pairs);
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
    static constexpr unsigned ascii_end = 0x80;
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

    template <class Vector>
    [[gnu::always_inline]] static bool any_set(const Vector& lanes) noexcept {
        std::uint64_t words[sizeof lanes / sizeof(std::uint64_t)];
        __builtin_memcpy(words, &lanes, sizeof words);
        std::uint64_t all = 0;
        for (const std::uint64_t word : words) all |= word;
        return all != 0;
    }

    template <class Unit>
    [[gnu::always_inline]] static Unit unit_at(const void* from) noexcept {
        Unit unit;
        __builtin_memcpy(&unit, from, sizeof unit);
        return unit;
    }

    template <class Unit, std::size_t Count>
    [[gnu::always_inline]] static bool is_ascii_run(const void* from) noexcept {
        constexpr std::uint64_t outside =
            sizeof(Unit) == 1 ? std::uint64_t{0x8080808080808080} : std::uint64_t{0xFF80FF80FF80FF80};
        std::uint64_t words[Count * sizeof(Unit) / sizeof(std::uint64_t)];
        __builtin_memcpy(words, from, sizeof words);
        std::uint64_t all = 0;
        for (const std::uint64_t word : words) all |= word;
        return (all & outside) == 0;
    }

    template <class Unit, std::size_t Count, class To, class From>
    [[gnu::always_inline]] static bool copy_ascii_run(To* __restrict to,
                                                      const From* __restrict from) noexcept {
        if (!is_ascii_run<Unit, Count>(from)) return false;
        for (std::size_t i = 0; i < Count; ++i) to[i] = static_cast<To>(from[i]);
        return true;
    }

    // From ends where the first unit outside ASCII stands; the number of units before it.
    template <class Unit, class To, class From>
    [[gnu::always_inline]] static std::size_t copy_ascii(To* __restrict to, const From* __restrict from,
                                                         std::size_t count) noexcept {
        std::size_t done = 0;
        while (count - done >= block && copy_ascii_run<Unit, block>(to + done, from + done)) done += block;
        while (count - done >= group && copy_ascii_run<Unit, group>(to + done, from + done)) done += group;
        for (; done < count; ++done) {
            const Unit unit = unit_at<Unit>(from + done);
            if (unit >= ascii_end) break;
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
    &utf8_loops<Registers>::widen_ascii, &utf8_loops<Registers>::narrow_ascii,
    &utf8_loops<Registers>::is_ascii,    &utf8_loops<Registers>::utf16_length,
    &utf8_loops<Registers>::utf8_length, &utf8_loops<Registers>::find_nul};

} // namespace fl::i18n::detail
