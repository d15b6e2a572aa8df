// Eight 16-bit words that are processed together: one register if the machine has vectors, plain
// words if not. Operators apply to each word, modulo 2^16.
#pragma once

#include <QtGlobal>

#include <cstring>

namespace WordVector {

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

} // namespace WordVector
