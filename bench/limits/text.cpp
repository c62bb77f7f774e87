// Char rows from UTF-8 and back: ASCII by vector loops that stop at anything else, other text by ICU's own conversion.
//
//   create   a header and a block as in freelist.cpp, large blocks from the heap; ICU needs no more units than there are bytes
//   back     a block of malloc with a NUL behind the text; a unit has three bytes at most
//
// Loops for AVX-512 where the processor has it, else for AVX2, which the whole file is compiled for.
#include "results.hpp"

#include <immintrin.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// Units are written up to the end of the text; false when a byte isn't ASCII.
__attribute__((target("avx512f,avx512bw,avx512vl,bmi2"))) bool widen_by_512(char16_t* to, const char* from,
                                                                            std::size_t count) noexcept {
    __m512i seen = _mm512_setzero_si512();
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m512i units =
            _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + i)));
        seen = _mm512_or_si512(seen, units);
        _mm512_storeu_si512(to + i, units);
    }
    const auto rest = static_cast<__mmask32>(_bzhi_u32(~0U, static_cast<unsigned>(count - i)));
    const __m512i units = _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(rest, from + i));
    _mm512_mask_storeu_epi16(to + i, rest, units);
    return _mm512_test_epi16_mask(_mm512_or_si512(seen, units), _mm512_set1_epi16(0x80)) == 0;
}

__attribute__((target("avx512f,avx512bw,avx512vl,bmi2"))) bool narrow_by_512(char* to, const char16_t* from,
                                                                             std::size_t count) noexcept {
    constexpr __mmask32 all = ~0U; // without a mask g++ 12 warns of its own header
    __m512i seen = _mm512_setzero_si512();
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m512i units = _mm512_loadu_si512(from + i);
        seen = _mm512_or_si512(seen, units);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), _mm512_maskz_cvtepi16_epi8(all, units));
    }
    const auto rest = static_cast<__mmask32>(_bzhi_u32(~0U, static_cast<unsigned>(count - i)));
    const __m512i units = _mm512_maskz_loadu_epi16(rest, from + i);
    _mm256_mask_storeu_epi8(to + i, rest, _mm512_maskz_cvtepi16_epi8(all, units));
    constexpr short beyond_ascii = -0x80;
    return _mm512_test_epi16_mask(_mm512_or_si512(seen, units), _mm512_set1_epi16(beyond_ascii)) == 0;
}

// Loops that the compiler turns into AVX2.
bool widen_by_c(char16_t* to, const char* from, std::size_t count) noexcept {
    unsigned char seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        seen |= static_cast<unsigned char>(from[i]);
        to[i] = static_cast<unsigned char>(from[i]);
    }
    return seen < 0x80;
}

bool narrow_by_c(char* to, const char16_t* from, std::size_t count) noexcept {
    unsigned seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        seen |= from[i];
        to[i] = static_cast<char>(from[i]);
    }
    return seen < 0x80;
}

template <bool (*Widen)(char16_t*, const char*, std::size_t) noexcept>
limit_array* create_ascii(const char* text) {
    const std::size_t count = std::strlen(text);
    limit_array* const array = limits::create_result(count * sizeof(char16_t));
    array->m = 1;
    array->n = count;
    if (!Widen(static_cast<char16_t*>(array->data), text, count)) std::abort(); // rows give it ASCII
    return array;
}

template <bool (*Narrow)(char*, const char16_t*, std::size_t) noexcept>
char* ascii_back(const char16_t* units, std::size_t count) {
    auto* const text = static_cast<char*>(std::malloc(count + 1));
    if (!Narrow(text, units, count)) std::abort();
    text[count] = '\0';
    return text;
}

limit_array* create_by_icu(const char* text) {
    const std::size_t bytes = std::strlen(text);
    limit_array* const array = limits::create_result(bytes * sizeof(char16_t));
    std::int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    const auto room = static_cast<std::int32_t>(bytes);
    u_strFromUTF8(static_cast<char16_t*>(array->data), room, &count, text, room, &status);
    array->m = 1;
    array->n = static_cast<std::size_t>(count);
    return array;
}

char* back_by_icu(const char16_t* units, std::size_t count) {
    constexpr std::size_t longest = 3;
    auto* const text = static_cast<char*>(std::malloc(longest * count + 1));
    std::int32_t bytes = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(text, static_cast<std::int32_t>(longest * count), &bytes, units,
                static_cast<std::int32_t>(count), &status);
    text[bytes] = '\0';
    return text;
}

} // namespace

limit_text limit_text_of(bool ascii) {
    if (!ascii) return {create_by_icu, back_by_icu, "ICU's own conversion", "ICU's own conversion"};
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
        return {create_ascii<widen_by_512>, ascii_back<narrow_by_512>, "strlen+freelist+avx512",
                "malloc+avx512+free"};
    return {create_ascii<widen_by_c>, ascii_back<narrow_by_c>, "strlen+freelist+avx2", "malloc+avx2+free"};
}

void limit_free_text(char* text) { std::free(text); }
