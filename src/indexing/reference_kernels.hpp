// The loops that copy selected elements straight from the source, without a list of positions in between. Elements go by their width.
//
//   numbers   blocks of values are tested at once, then their elements are fetched one by one: that is as quick as the processor's own
//             gather. Where a value isn't within the source, false: the target is of no use then
//   logical   the elements of true places are packed. With AVX-512 the processor does it, eight or sixteen at a time; otherwise every element
//             is stored, each over the one before unless that was true
//   ranges    steps of 2 and -1 by whole registers, all others one by one
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers, or inlined always.
#pragma once

#include "indexing/whole_lanes.hpp"

#include <immintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace matrix::internal {

/// Copies the elements of source, limit of them, that count values tell, which count from 1. False when a value isn't one of 1 to
/// limit. The buffers don't overlap.
using gather_kernel = bool (*)(const void* values, std::size_t count, const void* source, std::size_t limit,
                               void* target) noexcept;

/// Copies the elements at the places of the bytes that aren't 0, as many as wanted; there are no fewer.
using pack_kernel = void (*)(const std::uint8_t* bytes, const void* source, void* target,
                             std::size_t wanted) noexcept;

/// Copies count elements, not 0, from source on; the next one is step elements further, modulo 2^64.
using stride_kernel = void (*)(const void* source, std::size_t step, std::size_t count,
                               void* target) noexcept;

inline constexpr std::size_t element_width_count = 5; // 1, 2, 4, 8 and 16 bytes

/// The kernels of one instruction set; each has one for every width, in their order.
struct reference_kernels {
    std::array<gather_kernel, element_width_count> by_doubles;
    std::array<gather_kernel, element_width_count> by_wide; ///< int64 and uint64
    std::array<pack_kernel, element_width_count> pack;
    std::array<stride_kernel, element_width_count> stride;
};

/// An element of 16 bytes.
struct wide_element {
    std::uint64_t words[2];
};

template <class Registers>
class reference_loops : whole_lanes<Registers> {
    template <class T, std::size_t Count>
    using vector = foundation::core::cpu::vector<T, Count>;

    using whole = whole_lanes<Registers>;
    using typename whole::doubles;
    using typename whole::words;
    using whole::any;
    using whole::bad;
    using whole::is_bad;
    using whole::lanes;

    static constexpr std::size_t block = 32; // values that are tested at once
    static_assert(block % lanes == 0);
    static constexpr bool compares_words = lanes > 2; // narrower registers have no instruction for it

public:
    template <class Element>
    static bool by_doubles(const void* values, std::size_t count, const void* source, std::size_t limit,
                           void* target) noexcept {
        const auto* const from = static_cast<const double*>(values);
        const auto* const elements = static_cast<const Element*>(source);
        auto* __restrict to = static_cast<Element*>(target);
        const auto most = static_cast<double>(static_cast<std::int64_t>(limit));
        std::size_t done = 0;
        for (; count - done >= block; done += block) {
            std::uint64_t positions[block];
            if (!positions_of_block(from + done, most, positions)) return false;
            copy_block(to + done, elements, positions, std::make_index_sequence<block>());
        }
        for (; done < count; ++done) {
            const double x = from[done];
            if (is_bad(x, most)) return false;
            copy_element(to + done, elements + (static_cast<std::int64_t>(x) - 1));
        }
        return true;
    }

    template <class Element>
    static bool by_wide(const void* values, std::size_t count, const void* source, std::size_t limit,
                        void* target) noexcept {
        const auto* const from = static_cast<const std::uint64_t*>(values);
        const auto* const elements = static_cast<const Element*>(source);
        auto* __restrict to = static_cast<Element*>(target);
        std::size_t done = 0;
        for (; compares_words && count - done >= block; done += block) {
            if (!is_block_within(from + done, limit)) return false;
#pragma GCC unroll 8
            for (std::size_t i = done; i < done + block; ++i) copy_element(to + i, elements + (from[i] - 1));
        }
        for (; done < count; ++done) {
            if (is_bad(from[done], limit)) return false;
            copy_element(to + done, elements + (from[done] - 1));
        }
        return true;
    }

    template <class Element>
    static void pack(const std::uint8_t* bytes, const void* source, void* target,
                     std::size_t wanted) noexcept {
        const auto* const from = static_cast<const Element*>(source);
        auto* __restrict to = static_cast<Element*>(target);
        std::size_t at = 0;
        std::size_t found = 0;
        if constexpr (Registers::bytes == 64 && (sizeof(Element) == 8 || sizeof(Element) == 4)) {
            for (; wanted - found >= 64; at += 64) found += pack_64(bytes + at, from + at, to + found);
        } else {
            constexpr std::size_t word = sizeof(std::uint64_t);
            for (; wanted - found >= word; at += word) { // no fewer places are left than bytes
                std::uint64_t eight;
                __builtin_memcpy(&eight, bytes + at, sizeof eight);
                if (eight == 0) continue;
                for (std::size_t i = 0; i < word; ++i) {
                    copy_element(to + found, from + at + i);
                    found += bytes[at + i] != 0;
                }
            }
        }
        for (; found < wanted; ++at) {
            copy_element(to + found, from + at);
            found += bytes[at] != 0;
        }
    }

    template <class Element>
    static void stride(const void* source, std::size_t step, std::size_t count, void* target) noexcept {
        const auto* const from = static_cast<const Element*>(source);
        auto* __restrict to = static_cast<Element*>(target);
        std::size_t done = 0;
        if constexpr (sizeof(Element) <= sizeof(double)) {
            constexpr auto each = std::make_index_sequence<Registers::bytes / sizeof(Element)>();
            if (step == 2) done = every_second(from, count, to, each);
            if (step == ~std::size_t{0}) done = backwards(from, count, to, each);
        }
        for (std::size_t at = done * step; done < count; ++done, at += step)
            copy_element(to + done, from + static_cast<std::ptrdiff_t>(at));
    }

private:
    // By its bytes: the elements are of another type than the one that stands for their width.
    template <class Element>
    [[gnu::always_inline]] static void copy_element(Element* to, const Element* from) noexcept {
        __builtin_memcpy(to, from, sizeof(Element));
    }

    // Without a loop, whose end would be guessed wrong each time.
    template <class Element, std::size_t... I>
    [[gnu::always_inline]] static void copy_block(Element* to, const Element* elements,
                                                  const std::uint64_t* positions,
                                                  std::index_sequence<I...>) noexcept {
        (copy_element(to + I, elements + positions[I]), ...);
    }

    [[gnu::always_inline]] static bool positions_of_block(const double* from, double most,
                                                          std::uint64_t* positions) noexcept {
        words seen{};
        for (std::size_t i = 0; i < block; i += lanes) {
            doubles x;
            __builtin_memcpy(&x, from + i, sizeof x);
            seen |= bad(x, most);
            const words next = whole::positions(x);
            __builtin_memcpy(positions + i, &next, sizeof next);
        }
        return any(seen) == 0;
    }

    [[gnu::always_inline]] static bool is_block_within(const std::uint64_t* from,
                                                       std::uint64_t limit) noexcept {
        words seen{};
        for (std::size_t i = 0; i < block; i += lanes) {
            words x;
            __builtin_memcpy(&x, from + i, sizeof x);
            seen |= bad(x, limit);
        }
        return any(seen) == 0;
    }

    // Packs the elements of 64 places; there is room for as many behind to. How many there were.
    template <class Element>
    [[gnu::always_inline]] static std::size_t pack_64(const std::uint8_t* bytes, const Element* from,
                                                      Element* to) noexcept {
        const __m512i mask = _mm512_loadu_si512(bytes);
        std::uint64_t places = _mm512_test_epi8_mask(mask, mask);
        std::size_t found = 0;
        constexpr std::size_t at_once = 64 / sizeof(Element);
        for (std::size_t at = 0; at < 64; at += at_once) {
            const __m512i elements = _mm512_loadu_si512(from + at);
            if constexpr (sizeof(Element) == 8) {
                const auto these = static_cast<__mmask8>(places);
                _mm512_storeu_si512(to + found, _mm512_maskz_compress_epi64(these, elements));
                found += static_cast<std::size_t>(__builtin_popcount(these));
            } else {
                const auto these = static_cast<__mmask16>(places);
                _mm512_storeu_si512(to + found, _mm512_maskz_compress_epi32(these, elements));
                found += static_cast<std::size_t>(__builtin_popcount(these));
            }
            places >>= at_once;
        }
        return found;
    }

    // Both copy whole registers as long as no more is read than the range has, and say how many elements that were.
    template <class Element, std::size_t... Lane>
    [[gnu::always_inline]] static std::size_t
    every_second(const Element* from, std::size_t count, Element* to, std::index_sequence<Lane...>) noexcept {
        constexpr std::size_t width = sizeof...(Lane);
        std::size_t done = 0;
        for (; count - done > width; done += width) {
            vector<Element, width> low;
            vector<Element, width> high;
            __builtin_memcpy(&low, from + 2 * done, sizeof low);
            __builtin_memcpy(&high, from + 2 * done + width, sizeof high);
            const vector<Element, width> picked = __builtin_shufflevector(low, high, (2 * Lane)...);
            __builtin_memcpy(to + done, &picked, sizeof picked);
        }
        return done;
    }

    template <class Element, std::size_t... Lane>
    [[gnu::always_inline]] static std::size_t backwards(const Element* from, std::size_t count, Element* to,
                                                        std::index_sequence<Lane...>) noexcept {
        constexpr std::size_t width = sizeof...(Lane);
        std::size_t done = 0;
        for (; count - done >= width; done += width) {
            vector<Element, width> x;
            __builtin_memcpy(&x, from - done - (width - 1), sizeof x);
            const vector<Element, width> turned = __builtin_shufflevector(x, x, (width - 1 - Lane)...);
            __builtin_memcpy(to + done, &turned, sizeof turned);
        }
        return done;
    }
};

/// Defined in the source of each set.
extern const reference_kernels reference_kernels_baseline;
extern const reference_kernels reference_kernels_avx2;
extern const reference_kernels reference_kernels_avx512;

/// What such a source defines.
template <class Registers, class... Element>
constexpr reference_kernels make_reference_kernels() noexcept {
    using loops = reference_loops<Registers>;
    return {
        .by_doubles = {loops::template by_doubles<Element>...},
        .by_wide = {loops::template by_wide<Element>...},
        .pack = {loops::template pack<Element>...},
        .stride = {loops::template stride<Element>...},
    };
}

template <class Registers>
inline constexpr reference_kernels
    reference_kernels_of = make_reference_kernels<Registers, std::uint8_t, std::uint16_t, std::uint32_t,
                                                  std::uint64_t, wide_element>();

} // namespace matrix::internal
