#include "infrastructure/utility/video/generation/LineCrcKernels_p.h"

#include "infrastructure/utility/video/generation/LineCrc_p.h"
#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <algorithm>
#include <cstring>

namespace {
KERNELS_BEGIN

#if KERNEL_VECTOR_BYTES
using Chunk = quint8 __attribute__((vector_size(KERNEL_VECTOR_BYTES)));
#else
using Chunk = quint32;
#endif

template <typename Part>
inline Part load(const quint8* from)
{
    Part part;
    std::memcpy(&part, from, sizeof part);
    return part;
}

/// `target` gets the words, xored with what these pointers have at the same place.
template <typename Part, typename... Pointers>
inline void foldPart(quint8* target, const quint8* words, Pointers... runs)
{
    const Part part = static_cast<Part>(load<Part>(words) ^ (load<Part>(runs) ^ ...));
    std::memcpy(target, &part, sizeof part);
}

/// Moves a pointer on. On ARM that is hidden from the optimiser, which would work each pointer out
/// anew from a common one; vector loads there can count up, but not add.
template <typename Byte>
inline void advance(Byte*& pointer, std::size_t by)
{
    pointer += by;
#if KERNELS_WITH_NEON
    asm("" : "+r"(pointer));
#endif
}

template <typename... Pointers>
void foldParts(std::size_t bytes, quint8* target, const quint8* words, Pointers... runs)
{
    const auto advanceAll = [&](std::size_t by) {
        advance(target, by);
        advance(words, by);
        (advance(runs, by), ...);
    };
    for (std::size_t left = bytes / sizeof(Chunk); left > 0; --left) {
        foldPart<Chunk>(target, words, runs...);
        advanceAll(sizeof(Chunk));
    }
    std::size_t rest = bytes % sizeof(Chunk);
    if (rest > 0 && bytes > rest) {
        // Some of it once more: nothing that is read has changed.
        advanceAll(rest - sizeof(Chunk));
        foldPart<Chunk>(target, words, runs...);
        return;
    }
    for (; rest > 0; rest -= sizeof(quint16)) {
        foldPart<quint16>(target, words, runs...);
        advanceAll(sizeof(quint16));
    }
}

/// Folds `bytes` into the last `degree` bytes of `run`, which has room for `degree` bytes, all 0,
/// and after them for all. The exponents go down to 0. Each reaches among the last bytes, which
/// stay, from some place on, and is left out from there.
template <typename... Exponents>
void foldDown(const quint8* words, std::size_t bytes, quint8* run, std::size_t degree,
              std::size_t from, std::size_t exponent, Exponents... lower)
{
    const std::size_t end = bytes - exponent;
    foldParts(end - from, run + degree + from, words + from, run + exponent + from,
              (run + lower + from)...);
    if constexpr (sizeof...(lower) > 0) {
        foldDown(words, bytes, run, degree, end, std::size_t(lower)...);
    }
}

void foldRun(const void*& words, std::size_t& count, std::size_t wordBytes, quint8* space,
             quint8* folded)
{
    constexpr std::size_t LONG_DEGREE = LineCrcKernels::LONG_DEGREE;
    constexpr std::size_t DEGREE = LineCrcKernels::DEGREE;
    constexpr std::size_t SHORT_DEGREE = LineCrcKernels::SHORT_DEGREE;
    const std::size_t n = wordBytes;
    if (count < DEGREE) {
        return;
    }
    const auto* bytes = static_cast<const quint8*>(words);
    quint8* const run = space;
    quint8* const longRun = run + n * (DEGREE + LONG_DEGREE);
    if (count >= LONG_DEGREE) {
        foldDown(bytes, n * count, longRun, n * LONG_DEGREE, 0, n * 128, n * 24, 0);
        bytes = longRun + n * count;
        count = LONG_DEGREE;
    }
    foldDown(bytes, n * count, run, n * DEGREE, 0, n * 32, n * 6, 0);
    foldDown(run + n * count, n * DEGREE, folded, n * SHORT_DEGREE, 0, n * 29, n * 7, n * 2, n, 0);
    words = folded + n * DEGREE;
    count = SHORT_DEGREE;
}

constexpr std::size_t LINES = LineCrcKernels::LINES;

#if KERNEL_VECTOR_BYTES
using WordVector::Words;
static_assert(LINES == WordVector::COUNT);

/// A register of each line: its lowest 10 bits and maybe more above them, and the other 8.
struct Registers
{
    Words low;
    Words high;
};

inline void stepAll(Registers& crcs, Words words)
{
    const Words out = (crcs.low ^ words) & 0x3FF;
    crcs.low = (crcs.high ^ out << 8) ^ (out << 4 ^ out << 3);
    crcs.high = out >> 2 ^ out >> 6 ^ out >> 7;
}

/// Eight words of each line.
inline void stepEight(Registers& crcs, const quint16* const (&lines)[LINES], std::size_t at)
{
    Words v[LINES];
    for (std::size_t i = 0; i < LINES; ++i) {
        v[i] = WordVector::load(lines[i] + at);
    }
    // Three perfect shuffles turn lines into columns.
    for (int round = 0; round < 3; ++round) {
        Words shuffled[LINES];
        for (std::size_t i = 0; i < LINES / 2; ++i) {
            shuffled[2 * i] = WordVector::pick<0, 8, 1, 9, 2, 10, 3, 11>(v[i], v[i + LINES / 2]);
            shuffled[2 * i + 1] =
                WordVector::pick<4, 12, 5, 13, 6, 14, 7, 15>(v[i], v[i + LINES / 2]);
        }
        std::copy(std::begin(shuffled), std::end(shuffled), v);
    }
    for (const Words words : v) {
        stepAll(crcs, words);
    }
}

void stepLines(const quint16* const (&lines)[LINES], std::size_t count, quint32 (&crcs)[LINES])
{
    // Zeros before the first word change nothing.
    const std::size_t left = count % WordVector::COUNT;
    quint16 first[LINES][WordVector::COUNT] = {};
    const quint16* firstLines[LINES];
    for (std::size_t i = 0; i < LINES; ++i) {
        std::memcpy(first[i] + WordVector::COUNT - left, lines[i], left * sizeof(quint16));
        firstLines[i] = first[i];
    }
    Registers all = {};
    stepEight(all, firstLines, 0);
    for (std::size_t at = left; at < count; at += WordVector::COUNT) {
        stepEight(all, lines, at);
    }
    for (std::size_t i = 0; i < LINES; ++i) {
        crcs[i] = static_cast<quint32>((all.low[i] & 0x3FF) | all.high[i] << 10);
    }
}
#else
void stepLines(const quint16* const (&lines)[LINES], std::size_t count, quint32 (&crcs)[LINES])
{
    std::transform(std::begin(lines), std::end(lines), crcs,
                   [count](const quint16* words) { return LineCrc::of(words, count); });
}
#endif

KERNELS_END
} // namespace

const LineCrcKernels& LineCrcKernels::of(KERNEL_TAG)
{
    static constexpr LineCrcKernels KERNELS{foldRun, stepLines};
    return KERNELS;
}
