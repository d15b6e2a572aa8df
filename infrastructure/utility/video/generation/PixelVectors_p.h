// Pixels in registers, component by component: the same word of several pixels is one vector, and
// the language's arithmetic applies to each of its words. For kernels; what it is made of depends
// on their form: AVX2, NEON, or vectors of the language where the machine may have none.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"
#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <QtGlobal>

#include <array>
#include <cstring>

#define PIXELS_IN_AVX2 (KERNEL_IS_VECTOR && KERNELS_WITH_AVX2)
#define PIXELS_IN_NEON (KERNEL_IS_VECTOR && KERNELS_WITH_NEON)

#if PIXELS_IN_AVX2
#include <immintrin.h>
#elif PIXELS_IN_NEON
#include <arm_neon.h>
#endif

namespace PixelVectors {
KERNELS_BEGIN

#if PIXELS_IN_AVX2
using Words = quint16 __attribute__((vector_size(32)));
#else
using Words = WordVector::Words;
#endif

/// Pixels of a vector.
constexpr std::size_t COUNT = sizeof(Words) / sizeof(quint16);

/// The words from `words` on, at an address of any alignment.
inline Words load(const quint16* words)
{
    Words result;
    std::memcpy(&result, words, sizeof result);
    return result;
}

inline void store(Words vector, quint16* words)
{
    std::memcpy(words, &vector, sizeof vector);
}

// Each form defines these:
//
//   split<3>, split<4>         from COUNT pixels of so many words: first words, second words ...
//   storeTwo ... storeFour     the way back: first words of all pixels ... to pixels
//   pairsOfEven, pairsOfOdd    a word of a and one of b, from each pixel 0, 2, 4 ... or 1, 3, 5 ...

#if PIXELS_IN_AVX2

// Instructions work within the halves of a register, so the lower half of each takes the first
// eight pixels and the upper half the others.

inline __m256i loadLanes(const quint16* lower, const quint16* upper)
{
    const __m128i half = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lower));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(half),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper)), 1);
}

inline void storeLanes(__m256i vector, quint16* lower, quint16* upper)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lower), _mm256_castsi256_si128(vector));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(upper), _mm256_extracti128_si256(vector, 1));
}

/// Moves word `factor * i + first`, modulo eight, of each half to place i.
template <int factor, int first>
__m256i permute(__m256i words)
{
    alignas(32) static constexpr std::array<char, 32> PLACES = [] {
        std::array<char, 32> places = {};
        for (int i = 0; i < 32; ++i) {
            places[std::size_t(i)] = char(2 * ((factor * (i / 2) + first) % 8) + i % 2);
        }
        return places;
    }();
    return _mm256_shuffle_epi8(words,
                               _mm256_load_si256(reinterpret_cast<const __m256i*>(PLACES.data())));
}

/// Word i of each half comes from vector i - `first`, modulo three.
template <int first>
__m256i everyThird(__m256i a, __m256i b, __m256i c)
{
    constexpr int EVERY_THIRD = 0x249;
    const __m256i ab = _mm256_blend_epi16(a, b, EVERY_THIRD << ((first + 1) % 3) & 0xFF);
    return _mm256_blend_epi16(ab, c, EVERY_THIRD << ((first + 2) % 3) & 0xFF);
}

template <std::size_t wordsOfPixel>
std::array<Words, wordsOfPixel> split(const quint16* words)
{
    constexpr std::size_t LANE = 8 * wordsOfPixel;
    __m256i v[wordsOfPixel];
    for (std::size_t i = 0; i < wordsOfPixel; ++i) {
        v[i] = loadLanes(words + 8 * i, words + LANE + 8 * i);
    }
    if constexpr (wordsOfPixel == 3) {
        return {Words(permute<3, 0>(everyThird<0>(v[0], v[1], v[2]))),
                Words(permute<3, 1>(everyThird<1>(v[0], v[1], v[2]))),
                Words(permute<3, 2>(everyThird<2>(v[0], v[1], v[2])))};
    } else {
        const __m256i pairs =
            _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, 0, 1, 8, 9, 2, 3,
                             10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
        for (__m256i& vector : v) {
            vector = _mm256_shuffle_epi8(vector, pairs);
        }
        const __m256i lower[2] = {_mm256_unpacklo_epi32(v[0], v[1]),
                                  _mm256_unpacklo_epi32(v[2], v[3])};
        const __m256i upper[2] = {_mm256_unpackhi_epi32(v[0], v[1]),
                                  _mm256_unpackhi_epi32(v[2], v[3])};
        return {Words(_mm256_unpacklo_epi64(lower[0], lower[1])),
                Words(_mm256_unpackhi_epi64(lower[0], lower[1])),
                Words(_mm256_unpacklo_epi64(upper[0], upper[1])),
                Words(_mm256_unpackhi_epi64(upper[0], upper[1]))};
    }
}

inline void storeTwo(Words a, Words b, quint16* words)
{
    storeLanes(_mm256_unpacklo_epi16(__m256i(a), __m256i(b)), words, words + 16);
    storeLanes(_mm256_unpackhi_epi16(__m256i(a), __m256i(b)), words + 8, words + 24);
}

inline void storeThree(Words a, Words b, Words c, quint16* words)
{
    // 3 * 3 is 1 modulo 8.
    const __m256i v[3] = {permute<3, 0>(__m256i(a)), permute<3, 5>(__m256i(b)),
                          permute<3, 2>(__m256i(c))};
    storeLanes(everyThird<0>(v[0], v[1], v[2]), words, words + 24);
    storeLanes(everyThird<1>(v[0], v[1], v[2]), words + 8, words + 32);
    storeLanes(everyThird<2>(v[0], v[1], v[2]), words + 16, words + 40);
}

inline void storeFour(Words a, Words b, Words c, Words d, quint16* words)
{
    const __m256i ab[2] = {_mm256_unpacklo_epi16(__m256i(a), __m256i(b)),
                           _mm256_unpackhi_epi16(__m256i(a), __m256i(b))};
    const __m256i cd[2] = {_mm256_unpacklo_epi16(__m256i(c), __m256i(d)),
                           _mm256_unpackhi_epi16(__m256i(c), __m256i(d))};
    for (int i = 0; i < 2; ++i) {
        storeLanes(_mm256_unpacklo_epi32(ab[i], cd[i]), words + 16 * i, words + 16 * i + 32);
        storeLanes(_mm256_unpackhi_epi32(ab[i], cd[i]), words + 16 * i + 8, words + 16 * i + 40);
    }
}

inline Words pairsOfEven(Words a, Words b)
{
    return Words(_mm256_blend_epi16(__m256i(a), _mm256_slli_epi32(__m256i(b), 16), 0xAA));
}

inline Words pairsOfOdd(Words a, Words b)
{
    return Words(_mm256_blend_epi16(_mm256_srli_epi32(__m256i(a), 16), __m256i(b), 0xAA));
}

#elif PIXELS_IN_NEON

template <std::size_t wordsOfPixel>
std::array<Words, wordsOfPixel> split(const quint16* words)
{
    if constexpr (wordsOfPixel == 3) {
        const uint16x8x3_t v = vld3q_u16(words);
        return {Words(v.val[0]), Words(v.val[1]), Words(v.val[2])};
    } else {
        const uint16x8x4_t v = vld4q_u16(words);
        return {Words(v.val[0]), Words(v.val[1]), Words(v.val[2]), Words(v.val[3])};
    }
}

inline void storeTwo(Words a, Words b, quint16* words)
{
    vst2q_u16(words, {{uint16x8_t(a), uint16x8_t(b)}});
}

inline void storeThree(Words a, Words b, Words c, quint16* words)
{
    vst3q_u16(words, {{uint16x8_t(a), uint16x8_t(b), uint16x8_t(c)}});
}

inline void storeFour(Words a, Words b, Words c, Words d, quint16* words)
{
    vst4q_u16(words, {{uint16x8_t(a), uint16x8_t(b), uint16x8_t(c), uint16x8_t(d)}});
}

inline Words pairsOfEven(Words a, Words b)
{
    return Words(vtrnq_u16(uint16x8_t(a), uint16x8_t(b)).val[0]);
}

inline Words pairsOfOdd(Words a, Words b)
{
    return Words(vtrnq_u16(uint16x8_t(a), uint16x8_t(b)).val[1]);
}

#else

using WordVector::split;

inline void storeTwo(Words a, Words b, quint16* words)
{
    store(WordVector::pick<0, 8, 1, 9, 2, 10, 3, 11>(a, b), words);
    store(WordVector::pick<4, 12, 5, 13, 6, 14, 7, 15>(a, b), words + COUNT);
}

inline void storeThree(Words a, Words b, Words c, quint16* words)
{
    WordVector::storeThree(WordVector::merge(a, b, c, c), words);
}

inline void storeFour(Words a, Words b, Words c, Words d, quint16* words)
{
    WordVector::storeFour(WordVector::merge(a, b, c, d), words);
}

inline Words pairsOfEven(Words a, Words b)
{
    return WordVector::pick<0, 8, 2, 10, 4, 12, 6, 14>(a, b);
}

inline Words pairsOfOdd(Words a, Words b)
{
    return WordVector::pick<1, 9, 3, 11, 5, 13, 7, 15>(a, b);
}

#endif

KERNELS_END
} // namespace PixelVectors
