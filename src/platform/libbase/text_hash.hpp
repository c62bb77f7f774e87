// A 64-bit hash of a text, made for short names: up to 16 bytes take two overlapping reads and one multiplication.
// The value differs from run to run where addresses are randomised, so it must never be stored or shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace libbase {

/// The two halves of the 128-bit product, folded into one: each result bit depends on all bits of both factors.
inline std::uint64_t multiply_fold(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using wide = unsigned __int128;
    const wide product = static_cast<wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

inline std::uint64_t read_64(const char* at) noexcept {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline std::uint64_t read_32(const char* at) noexcept {
    std::uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline std::uint64_t hash_text(const char* text, std::size_t length, std::uint64_t seed) noexcept {
    constexpr std::uint64_t odd_1 = 0x9e3779b97f4a7c15; // 2^64 over the golden ratio
    constexpr std::uint64_t odd_2 = 0xb7e151628aed2a6b; // fraction bits of e
    std::uint64_t state = seed ^ odd_1;
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (length >= 8) {
        const char* const end = text + length;
        for (; end - text > 16; text += 16)
            state = multiply_fold(read_64(text) ^ state, read_64(text + 8) ^ odd_2);
        head = length > 16 ? read_64(end - 16) : read_64(text);
        tail = read_64(end - 8);
    } else if (length >= 4) {
        head = read_32(text);
        tail = read_32(text + length - 4);
    } else if (length > 0) { // first, middle and last byte: all of them, whether there are 1, 2 or 3
        const auto byte = [text](std::size_t i) {
            return std::uint64_t{static_cast<unsigned char>(text[i])};
        };
        head = byte(0) | byte(length / 2) << 8 | byte(length - 1) << 16;
    }
    return multiply_fold(head ^ state, tail ^ odd_2 ^ (length * odd_1));
}

} // namespace libbase
