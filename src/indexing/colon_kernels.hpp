// The loops that write the elements of a range, for floating point and for whole numbers.
//
// Four vectors at a time, none of which waits for the one before; then one vector at a time; floating point then by half a vector, half
// of that and so on, whole numbers one by one. Every element is computed from its own number, so its value doesn't depend on how
// many are computed together.
//
// A kernel header (see foundation/core/cpu/instruction_set.hpp): everything is a template over its registers.
#pragma once

#include <foundation/core/cpu/registers.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace matrix::internal {

/// Element i is base + (first + i * direction) * step, each operation rounded once, in doubles. first and direction are whole
/// numbers small enough for their sums to be exact.
struct line {
    double base;
    double first;
    double direction;
    double step;
};

/// The kernels of one instruction set.
struct colon_kernels {
    void (*doubles)(double* out, std::size_t count, const line& elements) noexcept;
    void (*singles)(float* out, std::size_t count, const line& elements) noexcept;
    /// Element i is start + i * step modulo the width: 1, 2, 4 and 8 bytes.
    void (*whole_8)(void* out, std::size_t count, std::uint64_t start, std::uint64_t step) noexcept;
    void (*whole_16)(void* out, std::size_t count, std::uint64_t start, std::uint64_t step) noexcept;
    void (*whole_32)(void* out, std::size_t count, std::uint64_t start, std::uint64_t step) noexcept;
    void (*whole_64)(void* out, std::size_t count, std::uint64_t start, std::uint64_t step) noexcept;
};

template <class Registers>
class colon_loops {
public:
    template <class Element>
    static void floating(Element* out, std::size_t count, const line& elements) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(double);
        using vector_type = vector<double, lanes>;
        const double base = elements.base;
        const double step = elements.step;
        std::size_t done = 0;
        if (count >= lanes) {
            const double vector_on = elements.direction * static_cast<double>(lanes);
            vector_type numbers = ascending<double, lanes>() * elements.direction + elements.first;
            if (count >= 4 * lanes) {
                vector_type second = numbers + vector_on;
                vector_type third = second + vector_on;
                vector_type fourth = third + vector_on;
                for (; done + 4 * lanes <= count; done += 4 * lanes) {
                    put(out + done, base + numbers * step);
                    put(out + done + lanes, base + second * step);
                    put(out + done + 2 * lanes, base + third * step);
                    put(out + done + 3 * lanes, base + fourth * step);
                    numbers += 4 * vector_on;
                    second += 4 * vector_on;
                    third += 4 * vector_on;
                    fourth += 4 * vector_on;
                }
            }
            for (; done + lanes <= count; done += lanes) {
                put(out + done, base + numbers * step);
                numbers += vector_on;
            }
        }
        few<lanes / 2>(out, done, count, elements);
    }

    template <class Word>
    static void whole(void* out, std::size_t count, std::uint64_t start, std::uint64_t step) noexcept {
        constexpr std::size_t lanes = Registers::bytes / sizeof(Word);
        auto* const to = static_cast<unsigned char*>(out);
        std::size_t done = 0;
        if (count >= lanes) {
            const auto vector_on = static_cast<Word>(step * lanes);
            auto next = ascending<Word, lanes>() * static_cast<Word>(step) + static_cast<Word>(start);
            for (; done + 4 * lanes <= count; done += 4 * lanes) {
                const auto second = next + vector_on;
                const auto third = next + static_cast<Word>(2 * vector_on);
                const auto fourth = next + static_cast<Word>(3 * vector_on);
                __builtin_memcpy(to + sizeof(Word) * done, &next, sizeof next);
                __builtin_memcpy(to + sizeof(Word) * (done + lanes), &second, sizeof next);
                __builtin_memcpy(to + sizeof(Word) * (done + 2 * lanes), &third, sizeof next);
                __builtin_memcpy(to + sizeof(Word) * (done + 3 * lanes), &fourth, sizeof next);
                next += static_cast<Word>(4 * vector_on);
            }
            for (; done + lanes <= count; done += lanes) {
                __builtin_memcpy(to + sizeof(Word) * done, &next, sizeof next);
                next += vector_on;
            }
        }
        for (std::uint64_t element = start + done * step; done < count; ++done, element += step) {
            const auto word = static_cast<Word>(element);
            __builtin_memcpy(to + sizeof(Word) * done, &word, sizeof word);
        }
    }

private:
    template <class T, std::size_t Lanes>
    using vector = foundation::core::cpu::vector<T, Lanes>;

    // The elements from done on, fewer than two vectors of so many lanes.
    template <std::size_t Lanes, class Element>
    [[gnu::always_inline]] static void few(Element* out, std::size_t done, std::size_t count,
                                           const line& elements) noexcept {
        const double number =
            elements.first + static_cast<double>(static_cast<std::int64_t>(done)) * elements.direction;
        if constexpr (Lanes == 1) {
            if (done < count) out[done] = static_cast<Element>(elements.base + number * elements.step);
        } else {
            if (count - done >= Lanes) {
                const auto numbers = ascending<double, Lanes>() * elements.direction + number;
                put(out + done, elements.base + numbers * elements.step);
                done += Lanes;
            }
            few<Lanes / 2>(out, done, count, elements);
        }
    }

    // 0, 1, 2, ...
    template <class T, std::size_t Lanes>
    [[gnu::always_inline]] static vector<T, Lanes> ascending() noexcept {
        vector<T, Lanes> numbers{};
        for (std::size_t i = 0; i < Lanes; ++i) numbers[i] = static_cast<T>(i);
        return numbers;
    }

    template <class Element, class Vector>
    [[gnu::always_inline]] static void put(Element* to, const Vector& x) noexcept {
        if constexpr (std::is_same_v<Element, double>) {
            __builtin_memcpy(to, &x, sizeof x);
        } else {
            const auto narrow = __builtin_convertvector(x, vector<float, sizeof x / sizeof(double)>);
            __builtin_memcpy(to, &narrow, sizeof narrow);
        }
    }
};

/// Defined in the source of each set.
extern const colon_kernels colon_kernels_baseline;
extern const colon_kernels colon_kernels_avx2;
extern const colon_kernels colon_kernels_avx512;

/// What such a source defines.
template <class Registers>
inline constexpr colon_kernels colon_kernels_of{
    .doubles = colon_loops<Registers>::template floating<double>,
    .singles = colon_loops<Registers>::template floating<float>,
    .whole_8 = colon_loops<Registers>::template whole<std::uint8_t>,
    .whole_16 = colon_loops<Registers>::template whole<std::uint16_t>,
    .whole_32 = colon_loops<Registers>::template whole<std::uint32_t>,
    .whole_64 = colon_loops<Registers>::template whole<std::uint64_t>,
};

} // namespace matrix::internal
