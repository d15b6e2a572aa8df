// Eight 16-bit words that are processed together: one register if the machine has vectors, plain
// words if not. Operators apply to each word, modulo 2^16.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cstring>

namespace WordVector {
KERNELS_BEGIN

/// Eight words; the language's arithmetic applies to each of them.
using Words = quint16 __attribute__((vector_size(16)));

constexpr std::size_t COUNT = sizeof(Words) / sizeof(quint16);

/// The same word eight times.
inline Words all(quint16 word)
{
    return Words{} + word;
}

/// The eight words from `words` on.
inline Words load(const quint16* words)
{
    Words result;
    std::memcpy(&result, words, sizeof result);
    return result;
}

/// Four words from each of two addresses.
inline Words loadHalves(const quint16* first, const quint16* second)
{
    quint64 halves[2];
    std::memcpy(&halves[0], first, sizeof halves[0]);
    std::memcpy(&halves[1], second, sizeof halves[1]);
    Words result;
    std::memcpy(&result, halves, sizeof result);
    return result;
}

/// Writes all eight, 16 bytes, to an address of any alignment.
inline void store(Words words, void* target)
{
    std::memcpy(target, &words, sizeof words);
}

/// The first four words go to one address, the others to another.
inline void storeHalves(Words words, void* first, void* second)
{
    using Halves = quint64 __attribute__((vector_size(16)));
    Halves halves;
    std::memcpy(&halves, &words, sizeof halves);
    const quint64 lower = halves[0];
    const quint64 upper = halves[1];
    std::memcpy(first, &lower, sizeof lower);
    std::memcpy(second, &upper, sizeof upper);
}

/// The words at these positions; from 8 on they are those of `second`.
template <int... places>
Words pick(Words first, Words second)
{
    return __builtin_shufflevector(first, second, places...);
}

/// The same from a single vector.
template <int... places>
Words pick(Words words)
{
    return pick<places...>(words, words);
}

// Moving the words of eight pixels into the order of components, and back.

/// A perfect shuffle: the second half of the words goes between the words of the first.
inline void shuffle(std::array<Words, 3>& v)
{
    v = {pick<0, 12, 1, 13, 2, 14, 3, 15>(v[0], v[1]), pick<4, 8, 5, 9, 6, 10, 7, 11>(v[0], v[2]),
         pick<0, 12, 1, 13, 2, 14, 3, 15>(v[1], v[2])};
}

inline void shuffle(std::array<Words, 4>& v)
{
    v = {pick<0, 8, 1, 9, 2, 10, 3, 11>(v[0], v[2]), pick<4, 12, 5, 13, 6, 14, 7, 15>(v[0], v[2]),
         pick<0, 8, 1, 9, 2, 10, 3, 11>(v[1], v[3]), pick<4, 12, 5, 13, 6, 14, 7, 15>(v[1], v[3])};
}

/// Three shuffles bring eight pixels of three words, or of four, into the order of components.
template <std::size_t wordsOfPixel>
std::array<Words, wordsOfPixel> split(const quint16* words)
{
    std::array<Words, wordsOfPixel> v = {};
    for (std::size_t i = 0; i < wordsOfPixel; ++i) {
        v[i] = load(words + i * COUNT);
    }
    for (int round = 0; round < 3; ++round) {
        shuffle(v);
    }
    return v;
}

/// Two shuffles bring four components into the order of pixels.
inline std::array<Words, 4> merge(Words a, Words b, Words c, Words d)
{
    std::array<Words, 4> v = {a, b, c, d};
    shuffle(v);
    shuffle(v);
    return v;
}

/// The first three words of each pixel. Each is written with the word after it, which the next
/// pixel overwrites; the last pixel is written without it.
inline void storeThree(const std::array<Words, 4>& pixels, quint16* words)
{
    quint16 last[4];
    storeHalves(pixels[0], words, words + 3);
    storeHalves(pixels[1], words + 6, words + 9);
    storeHalves(pixels[2], words + 12, words + 15);
    storeHalves(pixels[3], words + 18, last);
    std::copy_n(last, 3, words + 21);
}

inline void storeFour(const std::array<Words, 4>& pixels, quint16* words)
{
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        store(pixels[i], words + i * COUNT);
    }
}

KERNELS_END
} // namespace WordVector
